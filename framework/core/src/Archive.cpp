#include <vimra/core/Archive.h>
#include <vimra/core/BaseException.h>
#include <vimra/core/CoreMessages.h>
#include <vimra/core/LogMessageFormater.h>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <algorithm>
#include <charconv>
#include <istream>
#include <iterator>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <sstream>
#include <string_view>
#include <vector>

// Document layout (docs/archive-format.md):
//   <vimraArchive format="1">
//       <section name="...">            sections nest
//           <item name="..." type="unsigned|signed|double|bool|string">text</item>
//       </section>
//   </vimraArchive>

namespace vimra::core {

namespace {

using boost::property_tree::ptree;

constexpr const char* s_rootElement = "vimraArchive";
constexpr const char* s_sectionElement = "section";
constexpr const char* s_itemElement = "item";
constexpr const char* s_xmlAttributes = "<xmlattr>";
constexpr const char* s_formatVersion = "1";
// Deeper documents are refused before they reach the (recursive) XML parser.
constexpr std::size_t s_maxDepth = 256;

enum class eItemType { eUnsigned, eSigned, eDouble, eBool, eString };

const char* typeName(eItemType type) {
    switch (type) {
        case eItemType::eUnsigned:
            return "unsigned";
        case eItemType::eSigned:
            return "signed";
        case eItemType::eDouble:
            return "double";
        case eItemType::eBool:
            return "bool";
        case eItemType::eString:
            return "string";
    }
    return "?";
}

bool parseTypeName(const std::string& text, eItemType& type) {
    for (eItemType t : {eItemType::eUnsigned, eItemType::eSigned, eItemType::eDouble,
                        eItemType::eBool, eItemType::eString}) {
        if (text == typeName(t)) {
            type = t;
            return true;
        }
    }
    return false;
}

template <class... Args>
[[noreturn]] void fail(eSerializationMessage::domain id, const char* context, const Args&... args) {
    throw SerializationException(formatMessage(id, args...), context);
}

// ---- Text of values -------------------------------------------------------

// Length of the valid UTF-8 sequence starting at s[i], or 0 when there is none
// (overlong forms, surrogates and values above U+10FFFF are not valid).
std::size_t utf8SequenceLength(std::string_view s, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char lead = byte(i);
    std::size_t length;
    std::uint32_t code;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        code = lead & 0x1Fu;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        code = lead & 0x0Fu;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        code = lead & 0x07u;
    } else {
        return 0;
    }
    if (s.size() - i < length) return 0;
    for (std::size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0u) != 0x80u) return 0;
        code = (code << 6) | (byte(i + k) & 0x3Fu);
    }
    if ((length == 3 && code < 0x800) || (length == 4 && code < 0x10000)) return 0;
    if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
    return length;
}

bool isControl(unsigned char c) {
    return c < 0x20 || c == 0x7F;
}

// Names are stored as they are: valid UTF-8 without control characters.
bool isValidName(std::string_view name) {
    if (name.empty()) return false;
    for (std::size_t i = 0; i < name.size();) {
        const auto c = static_cast<unsigned char>(name[i]);
        if (c < 0x80) {
            if (isControl(c)) return false;
            ++i;
        } else {
            const std::size_t n = utf8SequenceLength(name, i);
            if (n == 0) return false;
            i += n;
        }
    }
    return true;
}

// Strings are stored with backslash escapes for the backslash, control
// characters and bytes that are not valid UTF-8, so that the document is
// valid UTF-8 XML and no XML tool can alter the value's whitespace.
std::string escapeString(std::string_view s) {
    static constexpr char s_hex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size();) {
        const auto c = static_cast<unsigned char>(s[i]);
        if (c >= 0x80) {
            if (const std::size_t n = utf8SequenceLength(s, i)) {
                out.append(s.substr(i, n));
                i += n;
                continue;
            }
        }
        ++i;
        if (c == '\\') {
            out += "\\\\";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c == '\r') {
            out += "\\r";
        } else if (isControl(c) || c >= 0x80) {
            out += "\\x";
            out += s_hex[c >> 4];
            out += s_hex[c & 0xF];
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

bool unescapeString(std::string_view s, std::string& out) {
    out.clear();
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] != '\\') {
            out += s[i];
            continue;
        }
        if (++i == s.size()) return false;
        switch (s[i]) {
            case '\\':
                out += '\\';
                break;
            case 'n':
                out += '\n';
                break;
            case 't':
                out += '\t';
                break;
            case 'r':
                out += '\r';
                break;
            case 'x': {
                if (s.size() - i < 3) return false;
                const int high = hexDigit(s[i + 1]);
                const int low = hexDigit(s[i + 2]);
                if (high < 0 || low < 0) return false;
                out += static_cast<char>(high * 16 + low);
                i += 2;
                break;
            }
            default:
                return false;
        }
    }
    return true;
}

template <class T>
bool parseNumber(const std::string& text, T& value) {
    const char* first = text.data();
    const char* last = first + text.size();
    auto [end, error] = std::from_chars(first, last, value);
    return error == std::errc() && end == last && first != last;
}

std::string formatDouble(double value) {
    char buffer[64];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    (void)error;  // 64 characters always hold the shortest round-trip form
    return std::string(buffer, end);
}

// The value of an item of `type` held as `text`; false when the text is not one.
struct ItemValue {
    std::uint64_t u = 0;
    std::int64_t i = 0;
    double d = 0.0;
    bool b = false;
    std::string s;
};

bool parseValue(eItemType type, const std::string& text, ItemValue& value) {
    switch (type) {
        case eItemType::eUnsigned:
            return parseNumber(text, value.u);
        case eItemType::eSigned:
            return parseNumber(text, value.i);
        case eItemType::eDouble:
            return parseNumber(text, value.d);
        case eItemType::eBool:
            if (text == "true" || text == "false") {
                value.b = text == "true";
                return true;
            }
            return false;
        case eItemType::eString:
            return unescapeString(text, value.s);
    }
    return false;
}

// ---- Markup check before parsing ------------------------------------------

// What the XML parser is lenient about, or could not survive, checked by a
// light scan of the markup (comments, CDATA, processing instructions and
// declarations skipped, quoted attribute values honoured): closing tags must
// match their opening tags, every '&' must start a predefined or numeric
// character reference, and elements may not nest deeper than s_maxDepth (the
// parser is recursive). Returns the first fault found, with its line.
struct MarkupFault {
    std::string reason;
    std::size_t line = 0;
    bool tooDeep = false;
};

bool isReference(std::string_view text, std::size_t at) {
    static constexpr std::string_view s_named[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"};
    const std::string_view rest = text.substr(at);
    for (std::string_view named : s_named)
        if (rest.starts_with(named)) return true;
    std::size_t k = 2;
    bool hex = false;
    if (!rest.starts_with("&#")) return false;
    if (rest.size() > 2 && rest[2] == 'x') {
        hex = true;
        k = 3;
    }
    const std::size_t firstDigit = k;
    while (k < rest.size() && (hex ? hexDigit(rest[k]) >= 0 : (rest[k] >= '0' && rest[k] <= '9')))
        ++k;
    return k > firstDigit && k < rest.size() && rest[k] == ';';
}

std::optional<MarkupFault> checkMarkup(std::string_view doc) {
    std::vector<std::string_view> open;
    std::size_t i = 0;
    const auto lineAt = [&](std::size_t at) {
        return static_cast<std::size_t>(std::count(doc.begin(), doc.begin() + at, '\n')) + 1;
    };
    const auto fault = [&](std::string reason, std::size_t at) {
        return MarkupFault{std::move(reason), lineAt(at), false};
    };
    const auto skipPast = [&](std::string_view end) {
        const std::size_t at = doc.find(end, i);
        i = at == std::string_view::npos ? doc.size() : at + end.size();
    };
    const auto nameAt = [&](std::size_t at) {
        std::size_t k = at;
        while (k < doc.size() && doc[k] != '>' && doc[k] != '/' && doc[k] != ' ' &&
               doc[k] != '\t' && doc[k] != '\n' && doc[k] != '\r')
            ++k;
        return doc.substr(at, k - at);
    };
    while (i < doc.size()) {
        const std::size_t lt = doc.find('<', i);
        // Character data up to the next tag.
        for (std::size_t amp = doc.find('&', i); amp < std::min(lt, doc.size());
             amp = doc.find('&', amp + 1))
            if (!isReference(doc, amp)) return fault("invalid character reference", amp);
        if (lt == std::string_view::npos) break;
        i = lt;
        const std::string_view rest = doc.substr(i);
        if (rest.starts_with("<!--")) {
            skipPast("-->");
        } else if (rest.starts_with("<![CDATA[")) {
            skipPast("]]>");
        } else if (rest.starts_with("<?")) {
            skipPast("?>");
        } else if (rest.starts_with("<!")) {
            skipPast(">");
        } else if (rest.starts_with("</")) {
            const std::string_view name = nameAt(i + 2);
            if (open.empty() || open.back() != name)
                return fault("closing tag </" + std::string(name) + "> does not match " +
                                 (open.empty() ? std::string("any open element")
                                               : "<" + std::string(open.back()) + ">"),
                             i);
            open.pop_back();
            skipPast(">");
        } else {
            // Start tag: find its end outside quoted attribute values.
            const std::string_view name = nameAt(i + 1);
            char quote = 0;
            std::size_t k = i + 1;
            for (; k < doc.size(); ++k) {
                const char c = doc[k];
                if (quote) {
                    if (c == quote)
                        quote = 0;
                    else if (c == '&' && !isReference(doc, k))
                        return fault("invalid character reference", k);
                } else if (c == '"' || c == '\'') {
                    quote = c;
                } else if (c == '>') {
                    break;
                }
            }
            if (k >= doc.size()) break;  // unterminated: the parser reports it
            if (doc[k - 1] != '/') {
                open.push_back(name);
                if (open.size() > s_maxDepth) return MarkupFault{{}, lineAt(i), true};
            }
            i = k + 1;
        }
    }
    return std::nullopt;
}

std::string sectionPath(const std::vector<std::string>& names) {
    if (names.empty()) return "/";
    std::string path;
    for (const std::string& n : names) path += "/" + n;
    return path;
}

}  // namespace

// ===========================================================================
// Output archive
// ===========================================================================

struct BaseOArchive::Impl {
    struct Level {
        ptree* node;
        std::set<std::string> items;
    };
    ptree document;
    std::vector<Level> levels;       // levels[0]: the root element
    std::vector<std::string> names;  // names of the open sections
    std::map<std::string, std::uint32_t> classVersions;

    Impl() {
        ptree& root = document.add_child(s_rootElement, ptree());
        root.put(std::string(s_xmlAttributes) + ".format", std::string(s_formatVersion));
        levels.push_back({&root, {}});
    }

    void addItem(const std::string& name, eItemType type, std::string text) {
        static constexpr const char* context = "vimra::core::BaseOArchive::write";
        if (!isValidName(name)) fail(eSerializationMessage::eInvalidName, context, "item", name);
        Level& level = levels.back();
        if (!level.items.insert(name).second)
            fail(eSerializationMessage::eItemWrittenTwice, context, name, sectionPath(names));
        ptree& item = level.node->add_child(s_itemElement, ptree(std::move(text)));
        ptree& attributes = item.add_child(s_xmlAttributes, ptree());
        attributes.add("name", name);
        attributes.add("type", std::string(typeName(type)));
    }
};

BaseOArchive::BaseOArchive() : m_impl(std::make_unique<Impl>()) {}
BaseOArchive::~BaseOArchive() = default;

void BaseOArchive::beginSection(const std::string& name) {
    if (!isValidName(name))
        fail(eSerializationMessage::eInvalidName, "vimra::core::BaseOArchive::beginSection",
             "section", name);
    ptree& section = m_impl->levels.back().node->add_child(s_sectionElement, ptree());
    section.add_child(s_xmlAttributes, ptree()).add("name", name);
    m_impl->levels.push_back({&section, {}});
    m_impl->names.push_back(name);
}

void BaseOArchive::endSection() {
    if (m_impl->names.empty())
        fail(eSerializationMessage::eNoOpenSection, "vimra::core::BaseOArchive::endSection");
    m_impl->levels.pop_back();
    m_impl->names.pop_back();
}

void BaseOArchive::writeUnsigned(const std::string& name, std::uint64_t value) {
    m_impl->addItem(name, eItemType::eUnsigned, std::to_string(value));
}
void BaseOArchive::writeSigned(const std::string& name, std::int64_t value) {
    m_impl->addItem(name, eItemType::eSigned, std::to_string(value));
}
void BaseOArchive::writeDouble(const std::string& name, double value) {
    m_impl->addItem(name, eItemType::eDouble, formatDouble(value));
}
void BaseOArchive::writeBool(const std::string& name, bool value) {
    m_impl->addItem(name, eItemType::eBool, value ? "true" : "false");
}
void BaseOArchive::writeString(const std::string& name, const std::string& value) {
    m_impl->addItem(name, eItemType::eString, escapeString(value));
}

bool BaseOArchive::hasClassVersion(const std::string& className) const {
    return m_impl->classVersions.count(className) != 0;
}

void BaseOArchive::registerClassVersion(const std::string& className, std::uint32_t version) {
    m_impl->classVersions[className] = version;
}

std::string BaseOArchive::str() const {
    std::ostringstream out;
    save(out);
    return out.str();
}

void BaseOArchive::save(std::ostream& out) const {
    if (!m_impl->names.empty())
        fail(eSerializationMessage::eSectionsStillOpen, "vimra::core::BaseOArchive::save",
             m_impl->names.size(), sectionPath(m_impl->names));
    try {
        boost::property_tree::write_xml(
            out, m_impl->document,
            boost::property_tree::xml_writer_make_settings<std::string>(' ', 4));
    } catch (const boost::property_tree::xml_parser_error&) {
        fail(eSerializationMessage::eStreamWriteFailed, "vimra::core::BaseOArchive::save");
    }
    if (!out) fail(eSerializationMessage::eStreamWriteFailed, "vimra::core::BaseOArchive::save");
}

// ===========================================================================
// Input archive
// ===========================================================================

struct BaseIArchive::Impl {
    struct Item {
        eItemType type;
        const std::string* text;
    };
    struct Level {
        const ptree* node;
        std::map<std::string, std::vector<const ptree*>> sections;  // in document order
        std::map<std::string, std::size_t> opened;                  // sections opened per name
        std::map<std::string, Item> items;
    };

    ptree document;
    std::vector<Level> levels;
    std::vector<std::string> names;
    std::map<std::string, std::uint64_t> classVersions;

    explicit Impl(const std::string& text) {
        static constexpr const char* context = "vimra::core::BaseIArchive";
        if (std::optional<MarkupFault> f = checkMarkup(text)) {
            if (f->tooDeep) fail(eSerializationMessage::eNestedTooDeep, context, s_maxDepth);
            fail(eSerializationMessage::eNotWellFormed, context, f->reason, f->line);
        }
        try {
            std::istringstream in(text);
            boost::property_tree::read_xml(in, document,
                                           boost::property_tree::xml_parser::no_comments);
        } catch (const boost::property_tree::xml_parser_error& e) {
            fail(eSerializationMessage::eNotWellFormed, context, e.message(), e.line());
        }
        const ptree* root = nullptr;
        if (document.size() == 1 && document.begin()->first == s_rootElement)
            root = &document.begin()->second;
        if (!root) {
            std::string found;
            for (const auto& child : document)
                found += (found.empty() ? "<" : ", <") + child.first + ">";
            fail(eSerializationMessage::eWrongRootElement, context, s_rootElement,
                 found.empty() ? std::string("no element") : found);
        }
        checkAttributes(*root, s_rootElement, {"format"}, "/");
        const std::string format =
            root->get<std::string>(std::string(s_xmlAttributes) + ".format", "");
        if (format != s_formatVersion)
            fail(eSerializationMessage::eUnsupportedFormat, context,
                 format.empty() ? std::string("(none)") : format, s_formatVersion);
        std::vector<std::string> path;
        validate(*root, path);
        levels.push_back(index(*root));
    }

    // Every XML attribute of `element` must be one of `allowed`.
    static void checkAttributes(const ptree& element, const char* elementName,
                                std::initializer_list<const char*> allowed,
                                const std::string& path) {
        const auto attributes = element.get_child_optional(s_xmlAttributes);
        if (!attributes) return;
        for (const auto& a : *attributes) {
            bool known = false;
            for (const char* name : allowed) known = known || a.first == name;
            if (!known)
                fail(eSerializationMessage::eUnexpectedXmlAttribute, "vimra::core::BaseIArchive",
                     a.first, elementName, path);
        }
    }

    // Checks the whole tree once, so that reads only meet well-formed content.
    static void validate(const ptree& section, std::vector<std::string>& path) {
        static constexpr const char* context = "vimra::core::BaseIArchive";
        std::set<std::string> itemNames;
        for (const auto& [key, child] : section) {
            if (key == s_xmlAttributes) continue;
            const std::string where = sectionPath(path);
            if (key != s_sectionElement && key != s_itemElement)
                fail(eSerializationMessage::eUnexpectedElement, context, key, where);
            const std::string name =
                child.get<std::string>(std::string(s_xmlAttributes) + ".name", "");
            if (name.empty()) fail(eSerializationMessage::eElementWithoutName, context, key, where);
            if (key == s_sectionElement) {
                checkAttributes(child, s_sectionElement, {"name"}, where);
                path.push_back(name);
                validate(child, path);
                path.pop_back();
                continue;
            }
            checkAttributes(child, s_itemElement, {"name", "type"}, where);
            const auto type =
                child.get_optional<std::string>(std::string(s_xmlAttributes) + ".type");
            if (!type) fail(eSerializationMessage::eItemWithoutType, context, name, where);
            eItemType itemType;
            if (!parseTypeName(*type, itemType))
                fail(eSerializationMessage::eUnknownItemType, context, name, where, *type);
            for (const auto& grandChild : child)
                if (grandChild.first != s_xmlAttributes)
                    fail(eSerializationMessage::eItemWithElements, context, name, where);
            ItemValue value;
            if (!parseValue(itemType, child.data(), value))
                fail(eSerializationMessage::eInvalidItemValue, context, name, where, child.data(),
                     typeName(itemType));
            if (!itemNames.insert(name).second)
                fail(eSerializationMessage::eItemInDocumentTwice, context, name, where);
        }
    }

    static Level index(const ptree& section) {
        Level level{&section, {}, {}, {}};
        for (const auto& [key, child] : section) {
            if (key == s_xmlAttributes) continue;
            const std::string name = child.get<std::string>(std::string(s_xmlAttributes) + ".name");
            if (key == s_sectionElement) {
                level.sections[name].push_back(&child);
            } else {
                eItemType type = eItemType::eString;
                parseTypeName(child.get<std::string>(std::string(s_xmlAttributes) + ".type"), type);
                level.items.emplace(name, Item{type, &child.data()});
            }
        }
        return level;
    }

    const Item* findItem(const std::string& name) const {
        const auto& items = levels.back().items;
        auto it = items.find(name);
        return it == items.end() ? nullptr : &it->second;
    }

    ItemValue read(const std::string& name, eItemType type) const {
        static constexpr const char* context = "vimra::core::BaseIArchive::read";
        const Item* item = findItem(name);
        if (!item) fail(eSerializationMessage::eItemNotFound, context, sectionPath(names), name);
        if (item->type != type)
            fail(eSerializationMessage::eWrongItemType, context, name, sectionPath(names),
                 typeName(item->type), typeName(type));
        ItemValue value;
        parseValue(type, *item->text, value);  // checked when the document was loaded
        return value;
    }
};

BaseIArchive::BaseIArchive(const std::string& document)
    : m_impl(std::make_unique<Impl>(document)) {}

BaseIArchive::BaseIArchive(std::istream& in) {
    std::string document{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad()) fail(eSerializationMessage::eStreamReadFailed, "vimra::core::BaseIArchive");
    m_impl = std::make_unique<Impl>(document);
}

BaseIArchive::~BaseIArchive() = default;

void BaseIArchive::beginSection(const std::string& name) {
    Impl::Level& level = m_impl->levels.back();
    auto it = level.sections.find(name);
    std::size_t& opened = level.opened[name];
    if (it == level.sections.end() || opened >= it->second.size())
        fail(eSerializationMessage::eSectionNotFound, "vimra::core::BaseIArchive::beginSection",
             sectionPath(m_impl->names), name);
    const ptree* section = it->second[opened++];
    m_impl->levels.push_back(Impl::index(*section));
    m_impl->names.push_back(name);
}

void BaseIArchive::endSection() {
    if (m_impl->names.empty())
        fail(eSerializationMessage::eNoOpenSection, "vimra::core::BaseIArchive::endSection");
    m_impl->levels.pop_back();
    m_impl->names.pop_back();
}

std::uint64_t BaseIArchive::readUnsigned(const std::string& name) {
    return m_impl->read(name, eItemType::eUnsigned).u;
}
std::int64_t BaseIArchive::readSigned(const std::string& name) {
    return m_impl->read(name, eItemType::eSigned).i;
}
double BaseIArchive::readDouble(const std::string& name) {
    return m_impl->read(name, eItemType::eDouble).d;
}
bool BaseIArchive::readBool(const std::string& name) {
    return m_impl->read(name, eItemType::eBool).b;
}
std::string BaseIArchive::readString(const std::string& name) {
    return std::move(m_impl->read(name, eItemType::eString).s);
}

std::uint64_t BaseIArchive::readUnsignedOr(const std::string& name, std::uint64_t fallback) {
    return hasItem(name) ? readUnsigned(name) : fallback;
}

bool BaseIArchive::hasItem(const std::string& name) const {
    return m_impl->findItem(name) != nullptr;
}

bool BaseIArchive::hasClassVersion(const std::string& className) const {
    return m_impl->classVersions.count(className) != 0;
}

std::uint64_t BaseIArchive::getClassVersion(const std::string& className) const {
    auto it = m_impl->classVersions.find(className);
    if (it == m_impl->classVersions.end())
        fail(eSerializationMessage::eNoClassVersion, "vimra::core::BaseIArchive::getClassVersion",
             className);
    return it->second;
}

void BaseIArchive::registerClassVersion(const std::string& className, std::uint64_t version) {
    m_impl->classVersions[className] = version;
}

}  // namespace vimra::core
