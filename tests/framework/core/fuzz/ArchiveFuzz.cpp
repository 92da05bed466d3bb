// Fuzz entry point of the archive reader.
//
// Any input must either load or be refused with SerializationException: no
// other exception, no crash, no sanitizer report, no stack exhaustion. Reading
// from a stream must give the same outcome as reading from a string. Loaded
// archives are then read the way processors read them.
#include "framework/core/fuzz/FuzzSupport.h"

#include <vimra/core/Archive.h>
#include <vimra/core/BaseException.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

namespace {

// The outcome of loading `document`: empty when it loads, the error otherwise.
template <class Source>
std::string load(Source&& source) {
    try {
        vimra::core::BaseIArchive archive(source);
        return {};
    } catch (const vimra::core::SerializationException& e) {
        return e.what();
    }
}

// Every read is attempted; items of other types and absent sections are refused.
template <class Read>
void attempt(Read read) {
    try {
        read();
    } catch (const vimra::core::SerializationException&) {
    }
}

void readLikeAProcessor(vimra::core::BaseIArchive& archive) {
    for (const char* section : {"InImg1", "s", "n", "a::B"}) {
        attempt([&] {
            archive.beginSection(section);
            for (const std::string item : {"set", "value", "version", "x"}) {
                attempt([&] { archive.readBool(item); });
                attempt([&] { archive.readUnsigned(item); });
                attempt([&] { archive.readSigned(item); });
                attempt([&] { archive.readDouble(item); });
                attempt([&] { archive.readString(item); });
            }
            archive.endSection();
        });
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vimra::test::silenceFrameworkLogging();
    const std::string document(reinterpret_cast<const char*>(data), size);
    const std::string fromString = load(document);
    std::istringstream stream(document);
    if (load(stream) != fromString) __builtin_trap();
    if (!fromString.empty()) return 0;
    vimra::core::BaseIArchive archive(document);
    readLikeAProcessor(archive);
    return 0;
}
