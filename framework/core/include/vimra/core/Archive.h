#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

namespace vimra::core {

/// Output archive: a tree of named sections holding typed items, saved as a
/// human-readable document (see docs/archive-format.md). Sections nest; items
/// are written into the innermost open section.
class BaseOArchive {
public:
    BaseOArchive();
    ~BaseOArchive();
    BaseOArchive(const BaseOArchive&) = delete;
    BaseOArchive& operator=(const BaseOArchive&) = delete;

    void beginSection(const std::string& name);
    void endSection();

    void writeUnsigned(const std::string& name, std::uint64_t value);
    void writeSigned(const std::string& name, std::int64_t value);
    void writeDouble(const std::string& name, double value);
    void writeBool(const std::string& name, bool value);
    void writeString(const std::string& name, const std::string& value);

    /// Class versions are written once per class and archive.
    bool hasClassVersion(const std::string& className) const;
    void registerClassVersion(const std::string& className, std::uint32_t version);

    /// The document; every section must be closed.
    std::string str() const;
    void save(std::ostream& out) const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

/// Input archive over a document written by BaseOArchive. Every failure (malformed
/// text, missing section or item, item of another type) throws SerializationException.
class BaseIArchive {
public:
    explicit BaseIArchive(const std::string& document);
    explicit BaseIArchive(std::istream& in);
    ~BaseIArchive();
    BaseIArchive(const BaseIArchive&) = delete;
    BaseIArchive& operator=(const BaseIArchive&) = delete;

    /// Opens the next not-yet-read section of that name inside the current one.
    void beginSection(const std::string& name);
    void endSection();

    std::uint64_t readUnsigned(const std::string& name);
    std::int64_t readSigned(const std::string& name);
    double readDouble(const std::string& name);
    bool readBool(const std::string& name);
    std::string readString(const std::string& name);
    /// The item when the current section has it, `fallback` otherwise (items
    /// written once per archive, such as class versions).
    std::uint64_t readUnsignedOr(const std::string& name, std::uint64_t fallback);
    bool hasItem(const std::string& name) const;

    /// Class versions seen so far while reading (written once per class).
    bool hasClassVersion(const std::string& className) const;
    std::uint64_t getClassVersion(const std::string& className) const;
    void registerClassVersion(const std::string& className, std::uint64_t version);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace vimra::core
