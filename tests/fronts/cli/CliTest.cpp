// The vimra-arith program, run as a user runs it: its results against the
// library called directly on the same pixels (read back with libtiff, not with
// the tool's reader), its help and listing against the catalogue, and its
// answers to bad command lines and hostile files: exit code, one line on
// stderr, and no file left behind.

#include "fronts/cli/TiffSamples.h"

#include <VIMRAIPL/VIMRAIPLArithmetic/Catalogue.h>

#include <gtest/gtest.h>

#include <regex>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace vimra::cli::test {
namespace {

namespace fs = std::filesystem;
namespace catalogue = imaproc::arithm::catalogue;
using image::eImageBufferType;

const char* const s_goldenDir = "/usr/share/gocode/src/golang.org/x/image/testdata";

std::string slurp(const std::string& path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

struct Outcome {
    int code = -1;
    std::string out, err;
};

/// Starts the tool; returns its pid. stdout and stderr go to files in `logDir`.
pid_t start(const std::vector<std::string>& args, const std::string& logDir) {
    // Everything the child needs is made before fork: the test process has
    // threads, and only async-signal-safe calls are allowed between fork and exec.
    std::vector<char*> argv{const_cast<char*>(VIMRA_ARITH_PATH)};
    for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const std::string outPath = logDir + "/stdout", errPath = logDir + "/stderr";
    const pid_t pid = ::fork();
    if (pid == 0) {
        const int o = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int e = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ::dup2(o, 1);
        ::dup2(e, 2);
        ::execv(VIMRA_ARITH_PATH, argv.data());
        ::_exit(127);
    }
    return pid;
}

Outcome finish(pid_t pid, const std::string& logDir) {
    int status = 0;
    ::waitpid(pid, &status, 0);
    Outcome r;
    r.code = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    r.out = slurp(logDir + "/stdout");
    r.err = slurp(logDir + "/stderr");
    return r;
}

Outcome tool(const std::vector<std::string>& args) {
    static TempDir logs;
    return finish(start(args, logs.dir.string()), logs.dir.string());
}

/// A library message without its image descriptions ("(uint8 45x21 z=3)"): the
/// tool runs on pages or bands, whose descriptions differ from the whole file's.
std::string withoutImageDescriptions(const std::string& message) {
    static const std::regex description(R"( \([a-z0-9]+ [0-9]+x[0-9]+[^)]*\))");
    return std::regex_replace(message, description, "");
}

/// A failure as the tool reports it: the exit code, one line naming the problem.
void expectFailure(const Outcome& r, int code, const std::string& mentions) {
    EXPECT_EQ(r.code, code) << r.err;
    EXPECT_EQ(r.err.rfind("vimra-arith: error: ", 0), 0u) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_NE(r.err.find(mentions), std::string::npos) << "expected '" << mentions << "' in: " << r.err;
}

/// The image libtiff reads from a file: pages as z (or one page per image),
/// samples as channels.
image::ImagePtr imageOf(const ReadBack& r, std::uint32_t page = 0, bool allPages = true) {
    const eImageBufferType::domain type =
        r.format == SAMPLEFORMAT_IEEEFP ? eImageBufferType::eFloat
        : r.format == SAMPLEFORMAT_INT
            ? (r.bits == 8 ? eImageBufferType::eInt8 : r.bits == 16 ? eImageBufferType::eInt16 : eImageBufferType::eInt32)
            : (r.bits == 8 ? eImageBufferType::eUInt8
                           : r.bits == 16 ? eImageBufferType::eUInt16 : eImageBufferType::eUInt32);
    const std::uint64_t z = allPages ? r.pages.size() : 1;
    auto desc = image::ImageDescription::make(type, r.width, r.height,
                                              z > 1 ? image::VolumeGeometry::make3d(z) : image::VolumeGeometry::make2d(),
                                              r.samples > 1 ? image::ColorGeometry::multiChannel(r.samples)
                                                            : image::ColorGeometry::grey());
    auto img = image::Image::create(desc);
    for (std::uint64_t p = 0; p < z; ++p)
        for (std::uint32_t c = 0; c < r.samples; ++c)
            for (std::uint32_t y = 0; y < r.height; ++y)
                for (std::uint32_t x = 0; x < r.width; ++x)
                    img->setValue(r.pages[allPages ? p : page][c][std::size_t{y} * r.width + x], x, y, p, c);
    return img;
}

/// Every pixel of a written file equals the image's, page for page (z), sample for sample (c).
void expectFileEquals(const std::string& path, const image::BaseImage& expected) {
    const ReadBack r = readBack(path);
    ASSERT_EQ(r.width, expected.getSizeX());
    ASSERT_EQ(r.height, expected.getSizeY());
    ASSERT_EQ(r.samples, expected.getSizeC());
    ASSERT_EQ(r.pages.size(), expected.getSizeZ());
    const auto [format, bits] = formatOf(image::elementBufferType(expected.getBufferType()));
    EXPECT_EQ(r.format, format);
    EXPECT_EQ(r.bits, bits);
    for (std::uint64_t z = 0; z < expected.getSizeZ(); ++z)
        for (std::uint32_t c = 0; c < r.samples; ++c)
            for (std::uint32_t y = 0; y < r.height; ++y)
                for (std::uint32_t x = 0; x < r.width; ++x) {
                    const double want = expected.getValue(x, y, z, c);
                    const double got = r.pages[z][c][std::size_t{y} * r.width + x];
                    if (!(want == got || (want != want && got != got)))
                        FAIL() << path << ": at x=" << x << " y=" << y << " z=" << z << " c=" << c << " got " << got
                               << ", the library gives " << want;
                }
}

// ---- every operation, against the library ---------------------------------------------------

/// What the tests pass for an argument that is not an image.
std::optional<std::pair<std::string, catalogue::ArgumentValue>> valueFor(const catalogue::ArgumentInfo& a,
                                                                          int index) {
    switch (a.kind) {
        case catalogue::eArgumentKind::eNumber: {
            const double v = index % 2 ? 0.5 : 3.0;
            return std::make_pair(std::to_string(v), catalogue::ArgumentValue{v});
        }
        case catalogue::eArgumentKind::eRange:
            return std::make_pair(std::string("10,200"), catalogue::ArgumentValue{processor::Range{10, 200}});
        case catalogue::eArgumentKind::eBufferType:
            return std::make_pair(std::string("float"), catalogue::ArgumentValue{eImageBufferType::eFloat});
        default: return std::nullopt;
    }
}

struct FileKind {
    const char* name;
    std::uint32_t pages;
    std::uint16_t samples;
    std::uint32_t tile;
    std::string description;
    std::vector<std::string> options;  ///< --band-elements: small values cut pages into several bands, 0 none
};

const FileKind s_kinds[] = {
    {"page", 1, 1, 0, "", {}},
    {"volumeInBandsOneThreadSse2", 3, 1, 0, "", {"--band-elements", "100", "--threads", "1", "--isa", "sse2"}},
    {"rgbTiledInBands", 2, 3, 16, "", {"--band-elements", "300"}},
    {"hyperstackWhole", 4, 1, 0, "ImageJ=1.53t\nimages=4\nchannels=2\nframes=2\nhyperstack=true\n",
     {"--band-elements", "0"}},
    {"pagesOnTheirOwn", 3, 1, 16, "", {"--stack", "pages"}},
};

class EveryOperation : public ::testing::TestWithParam<std::string> {};

// The tool's output files hold exactly what the library computes from the same
// pixels, or the tool refuses with the library's message where the library does.
TEST_P(EveryOperation, FilesHoldWhatTheLibraryComputes) {
    const catalogue::OperationInfo* op = catalogue::findOperation(GetParam());
    ASSERT_NE(op, nullptr);
    // Operations between images of different geometry depend on how a stack becomes
    // channels, frames and planes, which this test's reference reading does not
    // reproduce for hyperstacks; the stack tests cover that reading.
    const bool geometryMatters = op->words.front() == "generic";
    for (const FileKind& kind : s_kinds) {
        SCOPED_TRACE(kind.name);
        if (geometryMatters && !kind.description.empty()) continue;
        TempDir tmp;
        std::vector<std::string> args{op->kebabName()};
        std::vector<catalogue::ArgumentValue> values;
        bool skip = false;
        int image = 0, value = 0;
        for (const auto& a : op->arguments) {
            if (a.kind == catalogue::eArgumentKind::eImage) {
                if (a.optional) {
                    values.emplace_back();
                    continue;
                }
                SampleFormat sampleFormat;
                sampleFormat.width = 45;
                sampleFormat.height = 21;
                sampleFormat.pages = kind.pages;
                sampleFormat.samples = kind.samples;
                sampleFormat.tile = kind.tile;
                sampleFormat.description = kind.description;
                sampleFormat.seed = 11 * image + 3;
                // Mixed types make the promotion rules matter.
                const eImageBufferType::domain types[] = {eImageBufferType::eUInt8, eImageBufferType::eInt16,
                                                          eImageBufferType::eFloat};
                sampleFormat.type = types[image % 3];
                const std::string path = tmp.file("in" + std::to_string(image++) + ".tif");
                writeSample(path, sampleFormat);
                args.push_back(path);
                values.emplace_back(image::ConstImagePtr(imageOf(readBack(path))));
            } else if (const auto v = valueFor(a, value++)) {
                if (a.optional) {
                    values.emplace_back();  // left to its default, on both sides
                    continue;
                }
                args.push_back("--" + [&] {
                    std::string n = a.name;
                    std::replace(n.begin(), n.end(), '_', '-');
                    return n;
                }());
                args.push_back(v->first);
                values.push_back(v->second);
            } else if (!a.optional) {
                skip = true;  // text arguments (formulas) have their own tests
            } else {
                values.emplace_back();
            }
        }
        if (skip) GTEST_SKIP() << op->kebabName() << " takes text";
        std::vector<std::string> outs;
        for (std::size_t o = 0; o < op->outputs.size(); ++o) {
            outs.push_back(tmp.file("out" + std::to_string(o) + ".tif"));
            args.push_back("-o");
            args.push_back(outs.back());
        }
        args.insert(args.end(), kind.options.begin(), kind.options.end());

        std::vector<image::ImagePtr> expected;
        std::string refusal;
        try {
            auto p = op->prepare(values);
            processor::executeSyncRun(p);
            expected = op->outputsOf(*p);
        } catch (const core::BaseException& e) {
            refusal = e.what();
        }
        const Outcome r = tool(args);
        if (!refusal.empty()) {
            expectFailure(Outcome{r.code, r.out, withoutImageDescriptions(r.err)}, 1,
                          withoutImageDescriptions(refusal));
            for (const auto& o : outs) EXPECT_FALSE(fs::exists(o));
            continue;
        }
        ASSERT_EQ(r.code, 0) << r.err;
        EXPECT_TRUE(r.err.empty()) << r.err;
        for (std::size_t o = 0; o < outs.size(); ++o) expectFileEquals(outs[o], *expected[o]);
    }
}

std::vector<std::string> operationNames() {
    std::vector<std::string> names;
    for (const auto& op : catalogue::operations()) names.push_back(op.kebabName());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Catalogue, EveryOperation, ::testing::ValuesIn(operationNames()), [](const auto& info) {
    std::string n = info.param;
    std::replace(n.begin(), n.end(), '-', '_');
    return n;
});

// --type gives the outputs that buffer type, computed as the library computes into it.
TEST(OutputType, TypeOptionIsTheOutputsBufferType) {
    const catalogue::OperationInfo* add = catalogue::findOperation("add");
    ASSERT_NE(add, nullptr);
    TempDir tmp;
    SampleFormat a, b;
    a.type = b.type = eImageBufferType::eUInt8;
    b.seed = 9;
    writeSample(tmp.file("a.tif"), a);
    writeSample(tmp.file("b.tif"), b);
    for (const char* type : {"uint8", "int16", "float", "int32"}) {
        SCOPED_TRACE(type);
        const std::string out = tmp.file(std::string("sum-") + type + ".tif");
        const Outcome r = tool({"add", tmp.file("a.tif"), tmp.file("b.tif"), "-o", out, "--type", type});
        ASSERT_EQ(r.code, 0) << r.err;
        auto desc = imageOf(readBack(tmp.file("a.tif")))->getDescription();
        int t = 1;
        while (std::string(image::bufferTypeName(static_cast<eImageBufferType::domain>(t))) != type) ++t;
        desc.bufferType = static_cast<eImageBufferType::domain>(t);
        auto expected = image::Image::create(desc);
        auto p = add->prepare({image::ConstImagePtr(imageOf(readBack(tmp.file("a.tif")))),
                               image::ConstImagePtr(imageOf(readBack(tmp.file("b.tif"))))},
                              {expected});
        processor::executeSyncRun(p);
        expectFileEquals(out, *expected);
    }
}

// ---- listing and help -----------------------------------------------------------------------

/// What the tool shows of a tool tip: its text, without the class level it starts with.
std::string shownToolTip(const catalogue::OperationInfo& op) {
    const auto colon = op.toolTip.rfind(": ");
    return colon == std::string::npos ? op.toolTip : op.toolTip.substr(colon + 2);
}

TEST(Listing, ListNamesEveryOperationWithItsToolTip) {
    const Outcome r = tool({"list"});
    ASSERT_EQ(r.code, 0);
    const Outcome j = tool({"list", "--json"});
    ASSERT_EQ(j.code, 0);
    for (const auto& op : catalogue::operations()) {
        EXPECT_NE(r.out.find(op.kebabName() + "  "), std::string::npos) << op.kebabName();
        EXPECT_NE(r.out.find(shownToolTip(op)), std::string::npos) << op.toolTip;
        EXPECT_NE(j.out.find("\"toolTip\": \"" + op.toolTip + "\""), std::string::npos) << op.toolTip;
        EXPECT_NE(j.out.find("\"name\": \"" + op.kebabName() + "\""), std::string::npos) << op.kebabName();
        EXPECT_NE(j.out.find("\"entry\": \"" + op.entryName + "\""), std::string::npos) << op.entryName;
    }
}

TEST(Listing, EveryOperationHasHelpFromItsDeclaration) {
    for (const auto& op : catalogue::operations()) {
        SCOPED_TRACE(op.kebabName());
        const Outcome r = tool({op.kebabName(), "--help"});
        ASSERT_EQ(r.code, 0) << r.err;
        EXPECT_NE(r.out.find(shownToolTip(op)), std::string::npos);
        for (const auto& a : op.arguments) {
            if (a.kind == catalogue::eArgumentKind::eOther) continue;
            std::string n = a.name;  // options in kebab case, positionals as named
            std::replace(n.begin(), n.end(), '_', '-');
            EXPECT_TRUE(r.out.find(n) != std::string::npos || r.out.find(a.name) != std::string::npos) << a.name;
        }
        for (const auto& o : op.outputs) {
            if (!o.typeRule.empty()) EXPECT_NE(r.out.find(o.typeRule), std::string::npos) << o.typeRule;
        }
        EXPECT_NE(r.out.find("Overflow"), std::string::npos);
    }
}

TEST(Listing, InfoDescribesTheFileAndItsImage) {
    TempDir tmp;
    SampleFormat s;
    s.pages = 12;
    s.description = "ImageJ=1.53t\nimages=12\nchannels=2\nslices=3\nframes=2\nhyperstack=true\n";
    s.compression = COMPRESSION_LZW;
    s.bigEndian = true;
    writeSample(tmp.file("h.tif"), s);
    const Outcome r = tool({"info", tmp.file("h.tif")});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("big-endian"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("pages:       12"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("lzw"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("uint16 37x23 z=3 c=2 t=2"), std::string::npos) << r.out;
    const Outcome v = tool({"info", tmp.file("h.tif"), "--stack", "sequence"});
    EXPECT_NE(v.out.find("uint16 37x23 t=12"), std::string::npos) << v.out;
}

// ---- command lines and files the tool refuses -----------------------------------------------

class Refusals : public ::testing::Test {
  protected:
    void SetUp() override {
        SampleFormat a, b;
        b.seed = 4;
        writeSample(m_tmp.file("a.tif"), a);
        writeSample(m_tmp.file("b.tif"), b);
        b.width = 36;
        writeSample(m_tmp.file("narrow.tif"), b);
    }
    /// Nothing but the inputs the test made is left in the folder.
    void expectNoOutput(const std::vector<std::string>& inputs) {
        auto expected = inputs;
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(m_tmp.names(), expected);
    }
    std::string in(const char* n) { return m_tmp.file(n); }
    TempDir m_tmp;
};

TEST_F(Refusals, UsageErrorsExitTwo) {
    const std::string out = in("out.tif");
    struct Case {
        std::vector<std::string> args;
        const char* mentions;
    };
    const Case cases[] = {
        {{}, "subcommand"},
        {{"no-such-op", in("a.tif"), "-o", out}, "no-such-op"},
        {{"add", in("a.tif"), in("b.tif")}, "--output"},
        {{"add", in("a.tif"), "-o", out}, "img2"},
        {{"add", in("a.tif"), in("b.tif"), "-o", out, "-o", in("c.tif")}, "output"},
        {{"add", in("a.tif"), in("b.tif"), "-o", out, "--type", "uint12"}, "uint12"},
        {{"add", in("a.tif"), in("b.tif"), "-o", out, "--stack", "pile"}, "pile"},
        {{"add", in("a.tif"), in("b.tif"), "-o", out, "--compression", "jpeg2"}, "jpeg2"},
        {{"add", in("a.tif"), in("b.tif"), "-o", out, "--max-memory", "lots"}, "lots"},
        {{"add", in("a.tif"), in("b.tif"), "-o", out, "--isa", "mmx"}, "mmx"},
        {{"add", in("a.tif"), in("b.tif"), "-o", in("a.tif"), "--force"}, "also an input"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.empty() ? "" : c.args[0] + " ... " + c.args.back());
        expectFailure(tool(c.args), 2, c.mentions);
    }
    expectNoOutput({"a.tif", "b.tif", "narrow.tif"});
}

TEST_F(Refusals, MismatchedSizesAreProcessingErrors) {
    const Outcome r = tool({"add", in("a.tif"), in("narrow.tif"), "-o", in("out.tif")});
    expectFailure(r, 1, "36");
    expectNoOutput({"a.tif", "b.tif", "narrow.tif"});
}

TEST_F(Refusals, ExistingOutputsNeedForce) {
    std::ofstream(in("out.tif")) << "precious";
    expectFailure(tool({"add", in("a.tif"), in("b.tif"), "-o", in("out.tif")}), 3, "--force");
    EXPECT_EQ(slurp(in("out.tif")), "precious");
    const Outcome r = tool({"add", in("a.tif"), in("b.tif"), "-o", in("out.tif"), "--force"});
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(readBack(in("out.tif")).width, 37u);
    expectNoOutput({"a.tif", "b.tif", "narrow.tif", "out.tif"});
}

/// Writes `bytes` to a file.
void writeBytes(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

/// A little-endian classic TIFF of one uncompressed strip, with the given tags
/// (tag, type, count, value) and `data` after the directory.
std::string craftTiff(std::vector<std::array<std::uint32_t, 4>> tags, const std::string& data) {
    std::string f = "II*";
    f += '\0';
    const auto u16 = [&](std::uint32_t v) { f += static_cast<char>(v & 0xff); f += static_cast<char>(v >> 8 & 0xff); };
    const auto u32 = [&](std::uint32_t v) { u16(v & 0xffff); u16(v >> 16); };
    u32(8);
    const std::uint32_t dataOffset = 8 + 2 + 12 * static_cast<std::uint32_t>(tags.size() + 1) + 4;
    tags.push_back({273, 4, 1, dataOffset});  // StripOffsets
    std::sort(tags.begin(), tags.end());
    u16(static_cast<std::uint32_t>(tags.size()));
    for (const auto& t : tags) {
        u16(t[0]);
        u16(t[1]);
        u32(t[2]);
        if (t[1] == 3) {
            u16(t[3]);
            u16(0);
        } else {
            u32(t[3]);
        }
    }
    u32(0);
    return f + data;
}

TEST_F(Refusals, HostileFilesAreFileErrors) {
    std::vector<std::string> made{"a.tif", "b.tif", "narrow.tif"};
    const auto make = [&](const std::string& name, const std::string& bytes) {
        writeBytes(in(name.c_str()), bytes);
        made.push_back(name);
        return in(name.c_str());
    };
    const std::string full = slurp(in("a.tif"));
    SampleFormat lzw;
    lzw.compression = COMPRESSION_LZW;
    lzw.height = 200;
    lzw.rowsPerStrip = 200;
    writeSample(in("lzw.tif"), lzw);
    made.push_back("lzw.tif");
    const std::string lzwBytes = slurp(in("lzw.tif"));
    // The strip's data is at the start of the file: cut into its middle.
    std::string cutLzw = lzwBytes;
    for (std::size_t i = 100; i < 600 && i < cutLzw.size(); ++i) cutLzw[i] = static_cast<char>(i * 7);

    const std::string grey8 = std::string(16, '\x7f');
    const std::vector<std::array<std::uint32_t, 4>> fine = {
        {256, 3, 1, 4}, {257, 3, 1, 4}, {258, 3, 1, 8}, {259, 3, 1, 1}, {262, 3, 1, 1}, {277, 3, 1, 1},
        {278, 3, 1, 4}, {279, 4, 1, 16}};
    auto absurd = fine;
    absurd[0] = {256, 4, 1, 0x7fffffff};
    absurd[1] = {257, 4, 1, 0x7fffffff};
    absurd[6] = {278, 4, 1, 0x7fffffff};
    auto wrongCount = fine;
    wrongCount[2] = {258, 3, 7, 8};  // BitsPerSample with 7 values for 1 sample, pointing nowhere
    auto zeroWidth = fine;
    zeroWidth[0] = {256, 3, 1, 0};

    struct Case {
        std::string file;
        const char* mentions;
    };
    const std::vector<Case> cases = {
        {make("empty.tif", ""), "not a readable TIFF"},
        {make("text.tif", "this is not an image\n"), "not a readable TIFF"},
        {make("truncated.tif", full.substr(0, full.size() / 2)), ""},
        {make("header-only.tif", full.substr(0, 8)), ""},
        {make("corrupt-lzw.tif", cutLzw), "corrupt"},
        {make("zero-pages.tif", std::string("II*\0\0\0\0\0", 8)), ""},
        {make("absurd.tif", craftTiff(absurd, grey8)), ""},
        {make("wrong-count.tif", craftTiff(wrongCount, grey8)), ""},
        {make("zero-width.tif", craftTiff(zeroWidth, grey8)), ""},
        {in("missing.tif"), "no such file"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const Outcome r = tool({"add", c.file, in("b.tif"), "-o", in("out.tif")});
        expectFailure(r, 3, c.mentions);
        EXPECT_NE(r.err.find(c.file), std::string::npos) << r.err;
    }
    // The crafted file with sane tags is read: the crafting itself is right.
    const std::string sane = make("sane.tif", craftTiff(fine, grey8));
    const Outcome ok = tool({"abs", sane, "-o", in("sane-abs.tif")});
    EXPECT_EQ(ok.code, 0) << ok.err;
    made.push_back("sane-abs.tif");
    expectNoOutput(made);
}

// ---- files nobody here wrote ----------------------------------------------------------------

TEST(RealFiles, DebianTestImagesAreReadOrRefusedClearly) {
    if (!fs::exists(s_goldenDir)) GTEST_SKIP() << "golang-golang-x-image-dev is not installed";
    TempDir tmp;
    const catalogue::OperationInfo* add = catalogue::findOperation("add");
    ASSERT_NE(add, nullptr);
    struct Case {
        const char* file;
        const char* refusal;  ///< null: read
    };
    const Case cases[] = {
        {"video-001-gray.tiff", nullptr},           {"video-001-gray-16bit.tiff", nullptr},
        {"video-001-16bit.tiff", nullptr},          {"video-001.tiff", nullptr},
        {"video-001-uncompressed.tiff", nullptr},   {"video-001-strip-64.tiff", nullptr},
        {"blue-purple-pink.lzwcompressed.tiff", nullptr}, {"no_compress.tiff", nullptr},
        {"no_rps.tiff", nullptr},                   {"bw-uncompressed.tiff", "1-bit"},
        {"bw-deflate.tiff", "1-bit"},               {"bw-packbits.tiff", "1-bit"},
        {"bw-gopher_ccittGroup3.tiff", "1-bit"},    {"bw-gopher_ccittGroup4.tiff", "1-bit"},
        {"video-001-paletted.tiff", "palette"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const std::string path = std::string(s_goldenDir) + "/" + c.file;
        const std::string out = tmp.file(std::string(c.file) + ".sum.tif");
        const Outcome r = tool({"add", path, path, "-o", out});
        if (c.refusal) {
            expectFailure(r, 3, c.refusal);
            EXPECT_FALSE(fs::exists(out));
            continue;
        }
        ASSERT_EQ(r.code, 0) << r.err;
        const auto img = image::ConstImagePtr(imageOf(readBack(path)));
        auto p = add->prepare({img, img});
        processor::executeSyncRun(p);
        expectFileEquals(out, *add->outputsOf(*p)[0]);
    }
    // The tiled file holds the same picture as the striped ones: the tool reads it so.
    const Outcome t = tool({"abs", std::string(s_goldenDir) + "/video-001-tile-64x64.tiff", "-o", tmp.file("t.tif")});
    const Outcome s = tool({"abs", std::string(s_goldenDir) + "/video-001.tiff", "-o", tmp.file("s.tif")});
    ASSERT_EQ(t.code, 0) << t.err;
    ASSERT_EQ(s.code, 0) << s.err;
    EXPECT_EQ(readBack(tmp.file("t.tif")).pages, readBack(tmp.file("s.tif")).pages);
}

// ---- what the output keeps ------------------------------------------------------------------

TEST(Metadata, TagsSeenByTiffinfo) {
    TempDir tmp;
    SampleFormat s;
    s.samples = 3;
    s.planar = PLANARCONFIG_SEPARATE;
    s.pages = 2;
    s.description = "scanned at the lab";
    s.bigEndian = true;
    writeSample(tmp.file("rgb.tif"), s);
    const Outcome r = tool({"abs", tmp.file("rgb.tif"), "-o", tmp.file("out.tif"), "--compression", "deflate"});
    ASSERT_EQ(r.code, 0) << r.err;
    FILE* pipe = ::popen(("tiffinfo " + tmp.file("out.tif") + " 2>&1").c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string info;
    char buf[512];
    while (std::fgets(buf, sizeof buf, pipe)) info += buf;
    ::pclose(pipe);
    for (const char* want : {"Resolution: 300, 150 pixels/cm", "Photometric Interpretation: RGB color",
                             "Planar Configuration: separate image planes", "ImageDescription: scanned at the lab",
                             "Software: vimra-arith", "Deflate", "TIFF directory 1"})
        EXPECT_NE(info.find(want), std::string::npos) << want << " not in:\n" << info;
    EXPECT_TRUE(readBack(tmp.file("out.tif")).bigEndian);
    EXPECT_FALSE(readBack(tmp.file("out.tif")).bigTiff);
    const Outcome big = tool({"abs", tmp.file("rgb.tif"), "-o", tmp.file("big.tif"), "--bigtiff"});
    ASSERT_EQ(big.code, 0) << big.err;
    EXPECT_TRUE(readBack(tmp.file("big.tif")).bigTiff);
    EXPECT_EQ(readBack(tmp.file("big.tif")).pages, readBack(tmp.file("out.tif")).pages);
}

// ---- Ctrl-C -------------------------------------------------------------------------------------

TEST(Interrupt, CtrlCRemovesThePartialFileAndExits130) {
    TempDir tmp;
    {
        // 96 MiB of uint8 pages, written in whole strips (the per-pixel sample writer is too slow for it).
        TIFF* tif = TIFFOpen(tmp.file("big.tif").c_str(), "w");
        ASSERT_NE(tif, nullptr);
        std::vector<unsigned char> strip(2048 * 64);
        for (std::size_t i = 0; i < strip.size(); ++i) strip[i] = static_cast<unsigned char>(i * 7 + i / 2048);
        for (int page = 0; page < 24; ++page) {
            TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, 2048);
            TIFFSetField(tif, TIFFTAG_IMAGELENGTH, 2048);
            TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
            TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
            TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 64);
            for (tstrip_t k = 0; k < 32; ++k)
                ASSERT_GT(TIFFWriteEncodedStrip(tif, k, strip.data(), static_cast<tmsize_t>(strip.size())), 0);
            ASSERT_TRUE(TIFFWriteDirectory(tif));
        }
        TIFFClose(tif);
    }
    const std::string out = tmp.file("out.tif");
    TempDir logs;
    // Small bands and one thread: the run lasts long enough to be caught writing.
    const pid_t pid = start({"abs", tmp.file("big.tif"), "-o", out, "--threads", "1", "--band-elements", "4096",
                             "--compression", "lzma"},
                            logs.dir.string());
    bool sawTemporary = false;
    for (int i = 0; i < 20000 && !sawTemporary; ++i) {
        for (const auto& n : tmp.names())
            if (n.rfind(".out.tif.", 0) == 0) sawTemporary = true;
        if (!sawTemporary) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_TRUE(sawTemporary);
    ::kill(pid, SIGINT);
    const Outcome r = finish(pid, logs.dir.string());
    EXPECT_EQ(r.code, 130) << r.err;
    EXPECT_NE(r.err.find("interrupted"), std::string::npos);
    EXPECT_EQ(tmp.names(), std::vector<std::string>{"big.tif"});
}

// A formula by the names its language gives the inputs (--I1, --B1, --L1) and
// its border (--border); one name for both forms, the 3d one for volumes.
TEST(FormulaFront, FormulaTakesItsInputsByTheirNamesInTheFormula) {
    TempDir tmp;
    for (const std::uint32_t pages : {1u, 3u}) {
        SCOPED_TRACE(pages);
        SampleFormat a, b;
        a.type = b.type = eImageBufferType::eFloat;
        a.pages = b.pages = pages;
        b.seed = 5;
        const std::string pa = tmp.file("fa" + std::to_string(pages) + ".tif");
        const std::string pb = tmp.file("fb" + std::to_string(pages) + ".tif");
        writeSample(pa, a);
        writeSample(pb, b);
        const std::string text = "0.5*I1 + I2[1,0]";
        const std::string out = tmp.file("f" + std::to_string(pages) + ".tif");
        const Outcome r = tool({"formula", text, "--I1", pa, "--I2", pb, "--border", "mirror", "-o", out});
        ASSERT_EQ(r.code, 0) << r.err;
        const catalogue::OperationInfo* op = catalogue::findOperation(pages > 1 ? "formula3d" : "formula2d");
        ASSERT_NE(op, nullptr);
        std::vector<catalogue::ArgumentValue> values(op->arguments.size());
        values[0] = image::ConstImagePtr(imageOf(readBack(pa)));
        values[1] = image::ConstImagePtr(imageOf(readBack(pb)));
        values[9] = text;
        values[10] = std::string("mirror");
        auto p = op->prepare(values);
        processor::executeSyncRun(p);
        expectFileEquals(out, *op->outputsOf(*p).at(0));
    }
    const Outcome bad = tool({"formula", "I1", "--I1", tmp.file("fa1.tif"), "--border", "sideways", "-o",
                              tmp.file("never.tif")});
    expectFailure(bad, 1, "border policy");
    EXPECT_FALSE(fs::exists(tmp.file("never.tif")));
}

}  // namespace
}  // namespace vimra::cli::test
