#include <vimra/core/Archive.h>
#include <vimra/core/BaseException.h>
#include <vimra/core/CoreMessages.h>
#include <vimra/core/LogMessageFormater.h>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>  // writing only

#include <algorithm>
#include <cctype>
#include <charconv>
#include <istream>
#include <map>
#include <ostream>
#include <set>
#include <sstream>
#include <streambuf>
#include <string>
#include <string_view>
#include <utility>
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

// ---- Reading XML -----------------------------------------------------------

// The reader takes the XML it needs and nothing more: elements, attributes,
// character data, CDATA, the five predefined entities and character references,
// comments, processing instructions and a document type declaration, which is
// skipped (its entities are never expanded, so references to them are refused).
// It reads without recursion, in one pass, and refuses nesting deeper than
// s_maxDepth as it goes, so that the checks and the tree that follow stay
// shallow whatever the document.

struct XmlElement {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;  // in document order
    std::string text;                  // character data and CDATA sections, concatenated
    std::vector<XmlElement> children;  // elements only

    const std::string* attribute(std::string_view key) const {
        for (const auto& [k, v] : attributes)
            if (k == key) return &v;
        return nullptr;
    }
};

// Thrown by the reader; turned into a SerializationException with a line number.
struct XmlFault {
    std::string reason;
    std::size_t offset = 0;
    bool tooDeep = false;
};

// At most `limit` bytes of `text` for a message, cut on a character boundary.
std::string shown(std::string_view text, std::size_t limit = 64) {
    if (text.size() <= limit) return std::string(text);
    std::size_t cut = limit;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0u) == 0x80u) --cut;
    return std::string(text.substr(0, cut)) + "...";
}

// Characters allowed in an XML 1.0 document.
bool isXmlChar(std::uint32_t c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
           (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

bool isXmlSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isNameStartChar(std::uint32_t c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
           (c >= 0xC0 && c <= 0xD6) || (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) ||
           (c >= 0x370 && c <= 0x37D) || (c >= 0x37F && c <= 0x1FFF) ||
           (c >= 0x200C && c <= 0x200D) || (c >= 0x2070 && c <= 0x218F) ||
           (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xD7FF) ||
           (c >= 0xF900 && c <= 0xFDCF) || (c >= 0xFDF0 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0xEFFFF);
}

bool isNameChar(std::uint32_t c) {
    return isNameStartChar(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == 0xB7 ||
           (c >= 0x300 && c <= 0x36F) || (c >= 0x203F && c <= 0x2040);
}

void appendUtf8(std::string& out, std::uint32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

class XmlReader {
  public:
    explicit XmlReader(std::string_view doc) : m_doc(doc) {}

    // The top-level elements of the document (the caller wants exactly one).
    std::vector<XmlElement> read() {
        checkCharacters();
        if (m_doc.starts_with("\xEF\xBB\xBF")) m_at = 3;  // byte order mark
        std::vector<XmlElement> top;
        std::vector<XmlElement*> open;
        bool seenElement = false, seenDoctype = false;
        while (m_at < m_doc.size()) {
            if (m_doc[m_at] != '<') {
                readText(open.empty() ? nullptr : &open.back()->text);
                continue;
            }
            const std::string_view rest = m_doc.substr(m_at);
            if (rest.starts_with("<!--")) {
                skipPast(4, "-->", "unterminated comment");
            } else if (rest.starts_with("<![CDATA[")) {
                if (open.empty()) fault("CDATA section outside the root element");
                const std::size_t end = m_doc.find("]]>", m_at + 9);
                if (end == std::string_view::npos) fault("unterminated CDATA section");
                appendNormalized(open.back()->text, m_doc.substr(m_at + 9, end - m_at - 9));
                m_at = end + 3;
            } else if (rest.starts_with("<?")) {
                skipPast(2, "?>", "unterminated processing instruction");
            } else if (rest.starts_with("<!DOCTYPE")) {
                if (seenElement || seenDoctype) fault("misplaced document type declaration");
                skipDoctype();
                seenDoctype = true;
            } else if (rest.starts_with("<!")) {
                fault("unknown markup declaration");
            } else if (rest.starts_with("</")) {
                readEndTag(open);
            } else {
                readStartTag(top, open);
                seenElement = true;
            }
        }
        if (!open.empty()) fault("element <" + shown(open.back()->name) + "> is not closed");
        return top;
    }

  private:
    [[noreturn]] void fault(std::string reason) const { fault(std::move(reason), m_at); }
    [[noreturn]] static void fault(std::string reason, std::size_t offset) {
        throw XmlFault{std::move(reason), offset, false};
    }

    // Every character of the document: valid UTF-8, and allowed in XML (no NUL,
    // no control characters but tab, line feed and carriage return, no U+FFFE/FFFF).
    void checkCharacters() const {
        const std::string_view d = m_doc;
        for (std::size_t i = 0; i < d.size();) {
            const auto c = static_cast<unsigned char>(d[i]);
            if (c < 0x80) {
                if (!isXmlChar(c)) {
                    static constexpr char s_hex[] = "0123456789ABCDEF";
                    fault(std::string("control character 0x") + s_hex[c >> 4] + s_hex[c & 0xF] +
                              " is not allowed in XML",
                          i);
                }
                ++i;
                continue;
            }
            const std::size_t n = utf8SequenceLength(d, i);
            if (n == 0) fault("invalid UTF-8", i);
            const std::uint32_t code = decodeAt(i);
            if (!isXmlChar(code)) fault("a character not allowed in XML", i);
            i += n;
        }
    }

    // The code point at `at`, which checkCharacters found valid.
    std::uint32_t decodeAt(std::size_t at) const {
        const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(m_doc[at + k]); };
        const unsigned char lead = byte(0);
        if (lead < 0x80) return lead;
        if (lead < 0xE0) return ((lead & 0x1Fu) << 6) | (byte(1) & 0x3Fu);
        if (lead < 0xF0)
            return ((lead & 0x0Fu) << 12) | ((byte(1) & 0x3Fu) << 6) | (byte(2) & 0x3Fu);
        return ((lead & 0x07u) << 18) | ((byte(1) & 0x3Fu) << 12) | ((byte(2) & 0x3Fu) << 6) |
               (byte(3) & 0x3Fu);
    }

    std::size_t lengthAt(std::size_t at) const {
        const auto lead = static_cast<unsigned char>(m_doc[at]);
        return lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    }

    void skipPast(std::size_t opening, std::string_view end, const char* unterminated) {
        const std::size_t at = m_doc.find(end, m_at + opening);
        if (at == std::string_view::npos) fault(unterminated);
        m_at = at + end.size();
    }

    bool skipSpace() {
        const std::size_t start = m_at;
        while (m_at < m_doc.size() && isXmlSpace(m_doc[m_at])) ++m_at;
        return m_at != start;
    }

    // An XML name at the current position (empty when there is none).
    std::string_view readName() {
        const std::size_t start = m_at;
        while (m_at < m_doc.size()) {
            const std::uint32_t c = decodeAt(m_at);
            if (!(m_at == start ? isNameStartChar(c) : isNameChar(c))) break;
            m_at += lengthAt(m_at);
        }
        return m_doc.substr(start, m_at - start);
    }

    // A reference at the current '&', appended to `out` as the character it stands for.
    void readReference(std::string& out) {
        const std::size_t start = m_at;
        const auto refused = [&](const char* why) {
            // The reference up to its ';' when it looks like one, else just the '&'.
            std::size_t end = start + 1;
            while (end < m_doc.size() && end - start < 16 &&
                   (m_doc[end] == '#' || std::isalnum(static_cast<unsigned char>(m_doc[end]))))
                ++end;
            const std::size_t length =
                end < m_doc.size() && m_doc[end] == ';' ? end + 1 - start : 1;
            fault("invalid character reference " + std::string(m_doc.substr(start, length)) + why,
                  start);
        };
        ++m_at;
        if (m_at < m_doc.size() && m_doc[m_at] == '#') {
            ++m_at;
            const bool hex = m_at < m_doc.size() && m_doc[m_at] == 'x';
            if (hex) ++m_at;
            std::uint32_t code = 0;
            bool tooLarge = false;
            const std::size_t digits = m_at;
            for (; m_at < m_doc.size(); ++m_at) {
                const int d =
                    hex ? hexDigit(m_doc[m_at])
                        : (m_doc[m_at] >= '0' && m_doc[m_at] <= '9' ? m_doc[m_at] - '0' : -1);
                if (d < 0) break;
                if (!tooLarge) code = code * (hex ? 16 : 10) + static_cast<std::uint32_t>(d);
                tooLarge = tooLarge || code > 0x10FFFF;
            }
            if (m_at == digits || m_at == m_doc.size() || m_doc[m_at] != ';') refused("");
            if (tooLarge || !isXmlChar(code)) refused(": not a character allowed in XML");
            appendUtf8(out, code);
            ++m_at;
            return;
        }
        static constexpr std::pair<std::string_view, char> s_named[] = {
            {"amp;", '&'}, {"lt;", '<'}, {"gt;", '>'}, {"quot;", '"'}, {"apos;", '\''}};
        for (const auto& [name, c] : s_named) {
            if (m_doc.substr(m_at).starts_with(name)) {
                out += c;
                m_at += name.size();
                return;
            }
        }
        m_at = start;
        refused("");
    }

    // Character data up to the next '<', into `out` (outside the root element:
    // only white space is allowed, and it is dropped). Line ends become "\n".
    void readText(std::string* out) {
        while (m_at < m_doc.size() && m_doc[m_at] != '<') {
            char c = m_doc[m_at];
            if (c == '&') {
                if (!out) fault("text outside the root element");
                readReference(*out);
                continue;
            }
            if (c == ']' && m_doc.substr(m_at).starts_with("]]>")) fault("']]>' in text");
            if (c == '\r') {
                c = '\n';
                if (m_at + 1 < m_doc.size() && m_doc[m_at + 1] == '\n') ++m_at;
            }
            if (!out) {
                if (!isXmlSpace(c)) fault("text outside the root element");
            } else {
                *out += c;
            }
            ++m_at;
        }
    }

    static void appendNormalized(std::string& out, std::string_view text) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] != '\r') {
                out += text[i];
                continue;
            }
            out += '\n';
            if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
        }
    }

    // An attribute value between `quote`s; white space characters become spaces
    // (character references stay as they are).
    std::string readAttributeValue(char quote) {
        std::string value;
        for (;;) {
            if (m_at >= m_doc.size()) fault("unterminated attribute value");
            const char c = m_doc[m_at];
            if (c == quote) {
                ++m_at;
                return value;
            }
            if (c == '<') fault("'<' in an attribute value");
            if (c == '&') {
                readReference(value);
                continue;
            }
            if (c == '\r' && m_at + 1 < m_doc.size() && m_doc[m_at + 1] == '\n') ++m_at;
            value += isXmlSpace(c) ? ' ' : c;
            ++m_at;
        }
    }

    void readStartTag(std::vector<XmlElement>& top, std::vector<XmlElement*>& open) {
        const std::size_t tagStart = m_at;
        ++m_at;
        XmlElement element;
        element.name = readName();
        if (element.name.empty()) fault("invalid element name");
        bool selfClosing = false;
        for (;;) {
            const bool space = skipSpace();
            if (m_at >= m_doc.size()) fault("unterminated start tag <" + shown(element.name) + ">");
            if (m_doc[m_at] == '>') {
                ++m_at;
                break;
            }
            if (m_doc.substr(m_at).starts_with("/>")) {
                m_at += 2;
                selfClosing = true;
                break;
            }
            const std::string_view attributeName = space ? readName() : std::string_view();
            if (attributeName.empty())
                fault("unexpected character in the start tag <" + shown(element.name) + ">");
            skipSpace();
            if (m_at >= m_doc.size() || m_doc[m_at] != '=')
                fault("attribute " + shown(attributeName) + " has no value");
            ++m_at;
            skipSpace();
            if (m_at >= m_doc.size() || (m_doc[m_at] != '"' && m_doc[m_at] != '\''))
                fault("the value of attribute " + shown(attributeName) + " is not quoted");
            const char quote = m_doc[m_at++];
            std::string value = readAttributeValue(quote);
            element.attributes.emplace_back(attributeName, std::move(value));
        }
        checkUniqueAttributes(element, tagStart);
        if (open.size() >= s_maxDepth) throw XmlFault{{}, tagStart, true};
        std::vector<XmlElement>& siblings = open.empty() ? top : open.back()->children;
        siblings.push_back(std::move(element));
        if (!selfClosing) open.push_back(&siblings.back());
    }

    static void checkUniqueAttributes(const XmlElement& element, std::size_t offset) {
        if (element.attributes.size() < 2) return;
        std::vector<std::string_view> names;
        names.reserve(element.attributes.size());
        for (const auto& a : element.attributes) names.emplace_back(a.first);
        std::sort(names.begin(), names.end());
        const auto twice = std::adjacent_find(names.begin(), names.end());
        if (twice != names.end())
            fault("attribute " + shown(*twice) + " appears twice in <" + shown(element.name) + ">",
                  offset);
    }

    void readEndTag(std::vector<XmlElement*>& open) {
        const std::size_t tagStart = m_at;
        m_at += 2;
        const std::string_view name = readName();
        skipSpace();
        if (name.empty() || m_at >= m_doc.size() || m_doc[m_at] != '>')
            fault("malformed closing tag", tagStart);
        if (open.empty() || open.back()->name != name)
            fault("closing tag </" + shown(name) + "> does not match " +
                      (open.empty() ? std::string("any open element")
                                    : "<" + shown(open.back()->name) + ">"),
                  tagStart);
        open.pop_back();
        ++m_at;
    }

    // <!DOCTYPE name ... [internal subset]>: quoted literals, comments and
    // processing instructions may hold '>', ']' and quotes.
    void skipDoctype() {
        m_at += 9;
        bool inSubset = false;
        while (m_at < m_doc.size()) {
            const char c = m_doc[m_at];
            const std::string_view rest = m_doc.substr(m_at);
            if (c == '"' || c == '\'') {
                const std::size_t end = m_doc.find(c, m_at + 1);
                if (end == std::string_view::npos) break;
                m_at = end + 1;
            } else if (inSubset && rest.starts_with("<!--")) {
                skipPast(4, "-->", "unterminated comment");
            } else if (inSubset && rest.starts_with("<?")) {
                skipPast(2, "?>", "unterminated processing instruction");
            } else if (c == '[' && !inSubset) {
                inSubset = true;
                ++m_at;
            } else if (c == ']' && inSubset) {
                inSubset = false;
                ++m_at;
            } else if (c == '>' && !inSubset) {
                ++m_at;
                return;
            } else {
                ++m_at;
            }
        }
        fault("unterminated document type declaration");
    }

    std::string_view m_doc;
    std::size_t m_at = 0;
};

std::size_t lineAt(std::string_view doc, std::size_t offset) {
    offset = std::min(offset, doc.size());
    return static_cast<std::size_t>(std::count(doc.begin(), doc.begin() + offset, '\n')) + 1;
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
    } catch (...) {
        // A stream may throw on its own (exception mask, a throwing buffer).
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
        const XmlElement* node;
        std::map<std::string, std::vector<const XmlElement*>> sections;  // in document order
        std::map<std::string, std::size_t> opened;                       // sections opened per name
        std::map<std::string, Item> items;
    };

    std::vector<XmlElement> document;
    std::vector<Level> levels;
    std::vector<std::string> names;
    std::map<std::string, std::uint64_t> classVersions;

    explicit Impl(std::string_view text) {
        static constexpr const char* context = "vimra::core::BaseIArchive";
        try {
            document = XmlReader(text).read();
        } catch (const XmlFault& f) {
            if (f.tooDeep) fail(eSerializationMessage::eNestedTooDeep, context, s_maxDepth);
            fail(eSerializationMessage::eNotWellFormed, context, f.reason, lineAt(text, f.offset));
        }
        if (document.size() != 1 || document.front().name != s_rootElement) {
            // A few names are enough to tell what the document is.
            std::string found;
            for (std::size_t i = 0; i < document.size() && i < 4; ++i)
                found += (found.empty() ? "<" : ", <") + shown(document[i].name) + ">";
            if (document.size() > 4)
                found += " and " + std::to_string(document.size() - 4) + " more";
            fail(eSerializationMessage::eWrongRootElement, context, s_rootElement,
                 found.empty() ? std::string("no element") : found);
        }
        const XmlElement& root = document.front();
        std::vector<std::string> path;
        checkAttributes(root, s_rootElement, {"format"}, path);
        const std::string* format = root.attribute("format");
        if (!format || *format != s_formatVersion)
            fail(eSerializationMessage::eUnsupportedFormat, context,
                 !format || format->empty() ? std::string("(none)") : shown(*format),
                 s_formatVersion);
        validate(root, path);
        levels.push_back(index(root));
    }

    // Every XML attribute of `element` must be one of `allowed`.
    static void checkAttributes(const XmlElement& element, const char* elementName,
                                std::initializer_list<const char*> allowed,
                                const std::vector<std::string>& path) {
        for (const auto& a : element.attributes) {
            bool known = false;
            for (const char* name : allowed) known = known || a.first == name;
            if (!known)
                fail(eSerializationMessage::eUnexpectedXmlAttribute, "vimra::core::BaseIArchive",
                     shown(a.first), elementName, sectionPath(path));
        }
    }

    // Checks the whole tree once, so that reads only meet well-formed content.
    // The section path is built only for a message: a document may hold many
    // elements under a long path. Recursion is bounded by the reader's depth limit.
    static void validate(const XmlElement& section, std::vector<std::string>& path) {
        static constexpr const char* context = "vimra::core::BaseIArchive";
        std::set<std::string_view> itemNames;
        for (const XmlElement& child : section.children) {
            const std::string& key = child.name;
            if (key != s_sectionElement && key != s_itemElement)
                fail(eSerializationMessage::eUnexpectedElement, context, shown(key),
                     sectionPath(path));
            const std::string* namePtr = child.attribute("name");
            if (!namePtr || namePtr->empty())
                fail(eSerializationMessage::eElementWithoutName, context, key, sectionPath(path));
            const std::string& name = *namePtr;
            if (!isValidName(name)) fail(eSerializationMessage::eInvalidName, context, key, name);
            if (key == s_sectionElement) {
                checkAttributes(child, s_sectionElement, {"name"}, path);
                path.push_back(name);
                validate(child, path);
                path.pop_back();
                continue;
            }
            checkAttributes(child, s_itemElement, {"name", "type"}, path);
            const std::string* type = child.attribute("type");
            if (!type)
                fail(eSerializationMessage::eItemWithoutType, context, name, sectionPath(path));
            eItemType itemType;
            if (!parseTypeName(*type, itemType))
                fail(eSerializationMessage::eUnknownItemType, context, name, sectionPath(path),
                     shown(*type));
            if (!child.children.empty())
                fail(eSerializationMessage::eItemWithElements, context, name, sectionPath(path));
            ItemValue value;
            if (!parseValue(itemType, child.text, value))
                fail(eSerializationMessage::eInvalidItemValue, context, name, sectionPath(path),
                     shown(child.text), typeName(itemType));
            if (!itemNames.insert(name).second)
                fail(eSerializationMessage::eItemInDocumentTwice, context, name, sectionPath(path));
        }
    }

    static Level index(const XmlElement& section) {
        Level level{&section, {}, {}, {}};
        for (const XmlElement& child : section.children) {
            const std::string& name = *child.attribute("name");
            if (child.name == s_sectionElement) {
                level.sections[name].push_back(&child);
            } else {
                eItemType type = eItemType::eString;
                parseTypeName(*child.attribute("type"), type);
                level.items.emplace(name, Item{type, &child.text});
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
    static constexpr const char* context = "vimra::core::BaseIArchive";
    // Read through the stream buffer: a failing buffer (a directory opened as a
    // file, a broken device) may throw whatever it likes, and a stream whose
    // exception mask includes failbit would throw at the end of the text.
    std::string document;
    bool failed = in.fail();
    if (!failed) {
        try {
            std::streambuf* buffer = in.rdbuf();
            failed = buffer == nullptr;
            char chunk[65536];
            for (std::streamsize n = sizeof chunk; !failed && n == sizeof chunk;) {
                n = buffer->sgetn(chunk, sizeof chunk);
                document.append(chunk, static_cast<std::size_t>(n));
            }
        } catch (...) {
            failed = true;
        }
    }
    if (failed) fail(eSerializationMessage::eStreamReadFailed, context);
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
    const XmlElement* section = it->second[opened++];
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
