#include <vimra/core/Archive.h>
#include <vimra/core/BaseException.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using vimra::core::BaseIArchive;
using vimra::core::BaseOArchive;
using vimra::core::SerializationException;

// The text of the exception `f` throws, which must be a SerializationException.
std::string serializationError(const std::function<void()>& f) {
    try {
        f();
    } catch (const SerializationException& e) {
        return e.what();
    } catch (const std::exception& e) {
        return std::string("wrong exception type: ") + e.what();
    }
    return "no exception";
}

#define EXPECT_SERIALIZATION_ERROR(statement, fragment)                               \
    do {                                                                              \
        const std::string what_ = serializationError([&] { statement; });             \
        EXPECT_NE(what_.find(fragment), std::string::npos) << "error was: " << what_; \
        EXPECT_EQ(what_.find("wrong exception type"), std::string::npos) << what_;    \
        EXPECT_NE(what_, "no exception");                                             \
    } while (0)

// ---- The documented format ------------------------------------------------

TEST(Archive, WritesTheDocumentedFormat) {
    BaseOArchive out;
    out.beginSection("InFactor");
    out.writeBool("set", true);
    out.writeDouble("value", 0.1);
    out.endSection();
    out.beginSection("a::B");
    out.writeUnsigned("version", 1);
    out.writeSigned("offset", -3);
    out.writeString("text", "a<b & \"c\"\nd\\");
    out.beginSection("empty");
    out.endSection();
    out.endSection();
    EXPECT_EQ(
        out.str(),
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        "<vimraArchive format=\"1\">\n"
        "    <section name=\"InFactor\">\n"
        "        <item name=\"set\" type=\"bool\">true</item>\n"
        "        <item name=\"value\" type=\"double\">0.1</item>\n"
        "    </section>\n"
        "    <section name=\"a::B\">\n"
        "        <item name=\"version\" type=\"unsigned\">1</item>\n"
        "        <item name=\"offset\" type=\"signed\">-3</item>\n"
        "        <item name=\"text\" type=\"string\">a&lt;b &amp; &quot;c&quot;\\nd\\\\</item>\n"
        "        <section name=\"empty\"/>\n"
        "    </section>\n"
        "</vimraArchive>\n");
}

TEST(Archive, ReadsAHandWrittenDocument) {
    // Attribute order, quotes, indentation and comments are free.
    BaseIArchive in(
        "<?xml version='1.0'?>\n"
        "<!-- written by hand -->\n"
        "<vimraArchive format='1'><section name='s'>"
        "<item type='signed' name='n'>-42</item><!-- note -->"
        "<item name='d' type='double'>-1.5e-3</item>"
        "<item name='t' type='string'>caf\xC3\xA9 \\x41\\t</item>"
        "<item name='e' type='string'></item>"
        "</section></vimraArchive>");
    in.beginSection("s");
    EXPECT_EQ(in.readSigned("n"), -42);
    EXPECT_EQ(in.readDouble("d"), -1.5e-3);
    EXPECT_EQ(in.readString("t"), "caf\xC3\xA9 A\t");
    EXPECT_EQ(in.readString("e"), "");
    in.endSection();
}

// ---- Round trips ------------------------------------------------------------

TEST(Archive, RoundTripsEveryItemType) {
    const std::vector<std::uint64_t> unsignedValues = {0, 1, 4294967296ull,
                                                       std::numeric_limits<std::uint64_t>::max()};
    const std::vector<std::int64_t> signedValues = {std::numeric_limits<std::int64_t>::min(), -1, 0,
                                                    std::numeric_limits<std::int64_t>::max()};
    const std::vector<double> doubleValues = {0.0,
                                              -0.0,
                                              0.1,
                                              -1.0 / 3.0,
                                              3.141592653589793,
                                              std::numeric_limits<double>::denorm_min(),
                                              std::numeric_limits<double>::min(),
                                              std::numeric_limits<double>::max(),
                                              -std::numeric_limits<double>::max(),
                                              std::numeric_limits<double>::infinity(),
                                              -std::numeric_limits<double>::infinity(),
                                              static_cast<double>(3.4028234663852886e38f),
                                              1e22};
    const std::vector<std::string> stringValues = {
        "",
        " ",
        "   ",
        "  leading and trailing  ",
        "<tag attr=\"v\">&amp;</tag> 'q'",
        "line1\nline2\r\n",
        "tab\there",
        "back\\slash \\n \\x41",
        std::string("nul\0inside", 10),
        "\x01\x1F\x7F",
        "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80",  // 2-, 3- and 4-byte UTF-8
        "\xFF\xFE bytes that are not UTF-8 \xC0\x80 \xED\xA0\x80 \xF4\x90\x80\x80 \xE2\x82",
        "%s %d %1% {}",
        "]]> <![CDATA[ --> <!--",
    };

    BaseOArchive out;
    out.beginSection("values");
    for (std::size_t i = 0; i < unsignedValues.size(); ++i)
        out.writeUnsigned("u" + std::to_string(i), unsignedValues[i]);
    for (std::size_t i = 0; i < signedValues.size(); ++i)
        out.writeSigned("s" + std::to_string(i), signedValues[i]);
    for (std::size_t i = 0; i < doubleValues.size(); ++i)
        out.writeDouble("d" + std::to_string(i), doubleValues[i]);
    out.writeDouble("nan", std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 0; i < stringValues.size(); ++i)
        out.writeString("t" + std::to_string(i), stringValues[i]);
    out.writeBool("yes", true);
    out.writeBool("no", false);
    out.endSection();

    std::stringstream stream;
    out.save(stream);
    BaseIArchive in(stream);
    in.beginSection("values");
    // Items are found by name, in any order.
    EXPECT_FALSE(in.readBool("no"));
    EXPECT_TRUE(in.readBool("yes"));
    for (std::size_t i = 0; i < unsignedValues.size(); ++i)
        EXPECT_EQ(in.readUnsigned("u" + std::to_string(i)), unsignedValues[i]);
    for (std::size_t i = 0; i < signedValues.size(); ++i)
        EXPECT_EQ(in.readSigned("s" + std::to_string(i)), signedValues[i]);
    for (std::size_t i = 0; i < doubleValues.size(); ++i) {
        const double read = in.readDouble("d" + std::to_string(i));
        EXPECT_EQ(std::bit_cast<std::uint64_t>(read), std::bit_cast<std::uint64_t>(doubleValues[i]))
            << "value " << doubleValues[i] << " read as " << read;
    }
    EXPECT_TRUE(std::isnan(in.readDouble("nan")));
    for (std::size_t i = 0; i < stringValues.size(); ++i)
        EXPECT_EQ(in.readString("t" + std::to_string(i)), stringValues[i]) << "string " << i;
    in.endSection();
}

TEST(Archive, DocumentIsValidUtf8WithoutControlCharacters) {
    BaseOArchive out;
    out.writeString("t", std::string("\xFF\x00\x01\x7F\n\t\r \xC3\xA9", 10));
    const std::string doc = out.str();
    for (std::size_t i = 0; i < doc.size(); ++i) {
        const auto c = static_cast<unsigned char>(doc[i]);
        EXPECT_TRUE(c == '\n' || (c >= 0x20 && c != 0x7F)) << "byte " << int(c) << " at " << i;
        EXPECT_NE(c, 0xFF);
    }
    EXPECT_NE(doc.find(">\\xFF\\x00\\x01\\x7F\\n\\t\\r \xC3\xA9<"), std::string::npos) << doc;
}

TEST(Archive, SectionsNestAndSameNamedSectionsAreReadInOrder) {
    BaseOArchive out;
    for (int i = 0; i < 3; ++i) {
        out.beginSection("object");
        out.writeSigned("index", i);
        out.beginSection("inner");
        out.writeSigned("twice", 2 * i);
        out.endSection();
        out.endSection();
    }
    out.beginSection("other");
    out.endSection();

    BaseIArchive in(out.str());
    in.beginSection("other");  // sections of other names do not disturb the order
    in.endSection();
    for (int i = 0; i < 3; ++i) {
        in.beginSection("object");
        EXPECT_EQ(in.readSigned("index"), i);
        in.beginSection("inner");
        EXPECT_EQ(in.readSigned("twice"), 2 * i);
        EXPECT_FALSE(in.hasItem("index"));  // items of the outer section are not visible
        in.endSection();
        EXPECT_EQ(in.readSigned("index"), i);  // a second read of an item is allowed
        in.endSection();
    }
    EXPECT_SERIALIZATION_ERROR(in.beginSection("object"),
                               "Section / has no unread section \"object\"");
}

// ---- Reading errors ----------------------------------------------------------

TEST(Archive, MissingSectionOrItemIsAClearError) {
    BaseOArchive out;
    out.beginSection("outer");
    out.writeUnsigned("present", 1);
    out.endSection();
    BaseIArchive in(out.str());
    EXPECT_SERIALIZATION_ERROR(in.beginSection("absent"),
                               "Section / has no unread section \"absent\"");
    in.beginSection("outer");
    EXPECT_SERIALIZATION_ERROR(in.readUnsigned("absent"), "Section /outer has no item \"absent\"");
    EXPECT_SERIALIZATION_ERROR(in.beginSection("outer"), "Section /outer has no unread section");
    in.endSection();
    EXPECT_SERIALIZATION_ERROR(in.endSection(), "endSection called with no open section");
}

TEST(Archive, ReadingAnotherTypeIsAClearError) {
    const std::vector<std::string> types = {"unsigned", "signed", "double", "bool", "string"};
    BaseOArchive out;
    out.writeUnsigned("unsigned", 1);
    out.writeSigned("signed", 1);
    out.writeDouble("double", 1);
    out.writeBool("bool", true);
    out.writeString("string", "1");
    BaseIArchive in(out.str());
    const std::vector<std::function<void(const std::string&)>> readers = {
        [&](const std::string& n) { in.readUnsigned(n); },
        [&](const std::string& n) { in.readSigned(n); },
        [&](const std::string& n) { in.readDouble(n); },
        [&](const std::string& n) { in.readBool(n); },
        [&](const std::string& n) { in.readString(n); },
    };
    for (std::size_t written = 0; written < types.size(); ++written) {
        for (std::size_t read = 0; read < types.size(); ++read) {
            if (written == read) {
                EXPECT_NO_THROW(readers[read](types[written]));
                continue;
            }
            EXPECT_SERIALIZATION_ERROR(readers[read](types[written]),
                                       "Item \"" + types[written] + "\" in section / holds a " +
                                           types[written] + " value, read as " + types[read]);
        }
    }
}

TEST(Archive, OptionalUnsignedItem) {
    BaseOArchive out;
    out.writeUnsigned("present", 7);
    out.writeString("text", "7");
    BaseIArchive in(out.str());
    EXPECT_TRUE(in.hasItem("present"));
    EXPECT_FALSE(in.hasItem("absent"));
    EXPECT_EQ(in.readUnsignedOr("present", 3), 7u);
    EXPECT_EQ(in.readUnsignedOr("absent", 3), 3u);
    EXPECT_SERIALIZATION_ERROR(in.readUnsignedOr("text", 3), "holds a string value");
}

// ---- Writing errors ----------------------------------------------------------

TEST(Archive, WritingErrors) {
    BaseOArchive out;
    EXPECT_SERIALIZATION_ERROR(out.endSection(), "endSection called with no open section");
    out.beginSection("s");
    out.writeUnsigned("x", 1);
    EXPECT_SERIALIZATION_ERROR(out.writeDouble("x", 2),
                               "Item \"x\" is written twice in section /s");
    EXPECT_SERIALIZATION_ERROR(out.writeBool("", true), "Invalid item name \"\"");
    EXPECT_SERIALIZATION_ERROR(out.writeBool("a\nb", true), "Invalid item name");
    EXPECT_SERIALIZATION_ERROR(out.beginSection("bad\xFF"), "Invalid section name");
    out.beginSection("t");
    EXPECT_SERIALIZATION_ERROR(out.str(),
                               "The archive still has 2 open section(s), the innermost being /s/t");
    out.endSection();
    out.endSection();
    EXPECT_NO_THROW(out.str());

    std::ostringstream broken;
    broken.setstate(std::ios::badbit);
    EXPECT_SERIALIZATION_ERROR(out.save(broken), "Writing the archive to its stream failed");
}

// ---- Class versions ----------------------------------------------------------

TEST(Archive, ClassVersionRegistries) {
    BaseOArchive out;
    EXPECT_FALSE(out.hasClassVersion("a::B"));
    out.registerClassVersion("a::B", 1);
    EXPECT_TRUE(out.hasClassVersion("a::B"));
    EXPECT_FALSE(out.hasClassVersion("a::C"));

    BaseIArchive in(out.str());
    EXPECT_FALSE(in.hasClassVersion("a::B"));  // a new archive starts empty
    EXPECT_SERIALIZATION_ERROR(in.getClassVersion("a::B"), "No version is recorded for class a::B");
    in.registerClassVersion("a::B", 4);
    EXPECT_TRUE(in.hasClassVersion("a::B"));
    EXPECT_EQ(in.getClassVersion("a::B"), 4u);
}

// ---- Malformed documents -------------------------------------------------------

struct MalformedCase {
    const char* name;
    std::string document;
    const char* error;
};

class MalformedDocument : public ::testing::TestWithParam<MalformedCase> {};

TEST_P(MalformedDocument, IsRefusedWithAClearError) {
    EXPECT_SERIALIZATION_ERROR(BaseIArchive in(GetParam().document), GetParam().error);
}

std::string item(const std::string& attributes, const std::string& text) {
    return "<vimraArchive format=\"1\"><section name=\"s\"><item " + attributes + ">" + text +
           "</item></section></vimraArchive>";
}

std::string openSections(int depth) {
    std::string doc = "<vimraArchive format=\"1\">";
    for (int i = 0; i < depth; ++i) doc += "<section name=\"n\">";
    return doc;
}

std::string nested(int depth) {
    std::string doc = openSections(depth);
    for (int i = 0; i < depth; ++i) doc += "</section>";
    return doc + "</vimraArchive>";
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MalformedDocument,
    ::testing::Values(
        MalformedCase{"Empty", "",
                      "root element must be a single <vimraArchive>, found no element"},
        MalformedCase{"NotXml", "version=1", "not well-formed XML"},
        MalformedCase{"Unterminated", "<vimraArchive format=\"1\"><section name=\"s\">",
                      "not well-formed XML"},
        MalformedCase{"MismatchedTags", "<vimraArchive format=\"1\">\n</section>",
                      "not well-formed XML: closing tag </section> does not match <vimraArchive> "
                      "(line 2)"},
        MalformedCase{"CrossedTags",
                      "<vimraArchive format=\"1\"><section name=\"a\"><item name=\"x\" "
                      "type=\"bool\">true</section></item></vimraArchive>",
                      "closing tag </section> does not match <item>"},
        MalformedCase{"UndeclaredEntity", item("name=\"x\" type=\"string\"", "&nope;"),
                      "not well-formed XML: invalid character reference"},
        MalformedCase{"BareAmpersand", item("name=\"x\" type=\"string\"", "a & b"),
                      "invalid character reference"},
        MalformedCase{"EntityInAttribute", item("name=\"&x;\" type=\"bool\"", "true"),
                      "invalid character reference"},
        MalformedCase{"OtherRoot", "<archive format=\"1\"/>",
                      "root element must be a single <vimraArchive>, found <archive>"},
        MalformedCase{"TwoRoots", "<vimraArchive format=\"1\"/><vimraArchive format=\"1\"/>",
                      "found <vimraArchive>, <vimraArchive>"},
        MalformedCase{"NoFormat", "<vimraArchive/>", "format version \"(none)\" is not supported"},
        MalformedCase{"NewerFormat", "<vimraArchive format=\"2\"/>",
                      "format version \"2\" is not supported (this reader reads version 1)"},
        MalformedCase{"UnknownElement", "<vimraArchive format=\"1\"><data/></vimraArchive>",
                      "Unexpected element <data> in section /"},
        MalformedCase{"UnknownXmlAttribute",
                      "<vimraArchive format=\"1\"><section name=\"s\" id=\"1\"/></vimraArchive>",
                      "Unexpected XML attribute \"id\" on a <section> element in section /"},
        MalformedCase{"SectionWithoutName", "<vimraArchive format=\"1\"><section/></vimraArchive>",
                      "A <section> element in section / has no name"},
        MalformedCase{"ItemWithoutName", item("type=\"bool\"", "true"),
                      "A <item> element in section /s has no name"},
        MalformedCase{"ItemWithoutType", item("name=\"x\"", "1"),
                      "Item \"x\" in section /s has no type"},
        MalformedCase{"UnknownType", item("name=\"x\" type=\"float\"", "1"),
                      "Item \"x\" in section /s has an unknown type \"float\""},
        MalformedCase{"ItemWithElements",
                      item("name=\"x\" type=\"unsigned\"", "<section name=\"y\"/>"),
                      "Item \"x\" in section /s contains elements"},
        MalformedCase{"NegativeUnsigned", item("name=\"x\" type=\"unsigned\"", "-1"),
                      "\"-1\" is not a valid unsigned value"},
        MalformedCase{"UnsignedOverflow",
                      item("name=\"x\" type=\"unsigned\"", "18446744073709551616"),
                      "is not a valid unsigned value"},
        MalformedCase{"UnsignedWithSpace", item("name=\"x\" type=\"unsigned\"", " 1"),
                      "is not a valid unsigned value"},
        MalformedCase{"SignedOverflow", item("name=\"x\" type=\"signed\"", "-9223372036854775809"),
                      "is not a valid signed value"},
        MalformedCase{"EmptyNumber", item("name=\"x\" type=\"signed\"", ""),
                      "\"\" is not a valid signed value"},
        MalformedCase{"DoubleOverflow", item("name=\"x\" type=\"double\"", "1e400"),
                      "\"1e400\" is not a valid double value"},
        MalformedCase{"DoubleGarbage", item("name=\"x\" type=\"double\"", "1.5x"),
                      "is not a valid double value"},
        MalformedCase{"HexDouble", item("name=\"x\" type=\"double\"", "0x10"),
                      "is not a valid double value"},
        MalformedCase{"BadBool", item("name=\"x\" type=\"bool\"", "TRUE"),
                      "\"TRUE\" is not a valid bool value"},
        MalformedCase{"BadEscape", item("name=\"x\" type=\"string\"", "a\\q"),
                      "is not a valid string value"},
        MalformedCase{"ShortHexEscape", item("name=\"x\" type=\"string\"", "\\x4"),
                      "is not a valid string value"},
        MalformedCase{"TrailingBackslash", item("name=\"x\" type=\"string\"", "a\\"),
                      "is not a valid string value"},
        MalformedCase{"DuplicateItem",
                      "<vimraArchive format=\"1\"><item name=\"x\" type=\"bool\">true</item>"
                      "<item name=\"x\" type=\"bool\">true</item></vimraArchive>",
                      "Item \"x\" appears twice in section /"},
        MalformedCase{"TooDeep", nested(100000), "nests elements deeper than 256 levels"},
        // Well-formedness the reader insists on.
        MalformedCase{"QuoteInElementName", "<vimraArchive format=\"1\"><a\"b/></vimraArchive>",
                      "not well-formed XML: unexpected character in the start tag <a>"},
        MalformedCase{"NoSpaceBetweenAttributes", item("name=\"x\"type=\"bool\"", "true"),
                      "unexpected character in the start tag <item>"},
        MalformedCase{"DuplicateAttribute", item("name=\"x\" type=\"bool\" name=\"y\"", "true"),
                      "attribute name appears twice in <item>"},
        MalformedCase{"UnquotedAttribute", "<vimraArchive format=1/>",
                      "the value of attribute format is not quoted"},
        MalformedCase{"AttributeWithoutValue", "<vimraArchive format/>",
                      "attribute format has no value"},
        MalformedCase{"LessThanInAttribute", item("name=\"a<b\" type=\"bool\"", "true"),
                      "'<' in an attribute value"},
        MalformedCase{"TextOutsideRoot", "<vimraArchive format=\"1\"/>\ntrailing",
                      "text outside the root element (line 2)"},
        MalformedCase{"CdataEndInText", item("name=\"x\" type=\"string\"", "a]]>b"),
                      "']]>' in text"},
        MalformedCase{"UnterminatedComment", "<vimraArchive format=\"1\"/><!-- ",
                      "unterminated comment"},
        MalformedCase{"UnknownDeclaration", "<!ELEMENT x ANY><vimraArchive format=\"1\"/>",
                      "unknown markup declaration"},
        MalformedCase{"LateDoctype", "<vimraArchive format=\"1\"/><!DOCTYPE x>",
                      "misplaced document type declaration"},
        MalformedCase{
            "EntityOfTheDoctype",
            "<!DOCTYPE x [<!ENTITY e \"v\">]>" + item("name=\"x\" type=\"string\"", "&e;"),
            "invalid character reference &e;"},
        MalformedCase{"NotClosed", "<vimraArchive format=\"1\"><section name=\"s\">\n",
                      "element <section> is not closed (line 2)"},
        // Characters that XML 1.0 does not allow, written raw or as references.
        MalformedCase{"NulReferenceInValue", item("name=\"x\" type=\"string\"", "a&#0;b"),
                      "invalid character reference &#0;: not a character allowed in XML"},
        MalformedCase{"ControlReferenceInSectionName",
                      "<vimraArchive format=\"1\"><section name=\"a&#1;\"/></vimraArchive>",
                      "invalid character reference &#1;: not a character allowed in XML"},
        MalformedCase{"HexNulReference", item("name=\"x\" type=\"string\"", "&#x0000;"),
                      "invalid character reference &#x0000;"},
        MalformedCase{"SurrogateReference", item("name=\"x\" type=\"string\"", "&#xD800;"),
                      "not a character allowed in XML"},
        MalformedCase{"NonCharacterReference", item("name=\"x\" type=\"string\"", "&#xFFFE;"),
                      "not a character allowed in XML"},
        MalformedCase{"ReferenceBeyondUnicode", item("name=\"x\" type=\"string\"", "&#x110000;"),
                      "not a character allowed in XML"},
        MalformedCase{"ReferenceWrappingTo32Bits",
                      item("name=\"x\" type=\"string\"", "&#4294967393;"),
                      "not a character allowed in XML"},
        MalformedCase{"EmptyReference", item("name=\"x\" type=\"string\"", "&#;"),
                      "invalid character reference &#;"},
        MalformedCase{"RawNul", item("name=\"x\" type=\"string\"", std::string("a\0b", 3)),
                      "not well-formed XML: control character 0x00 is not allowed in XML"},
        MalformedCase{"RawControlInAttribute",
                      "<vimraArchive format=\"1\"><section name=\"a\x01\"/></vimraArchive>",
                      "control character 0x01 is not allowed in XML"},
        MalformedCase{"RawNonCharacter", item("name=\"x\" type=\"string\"", "\xEF\xBF\xBF"),
                      "a character not allowed in XML"},
        MalformedCase{"InvalidUtf8InComment",
                      "<vimraArchive format=\"1\"><!-- \xC0\x80 --></vimraArchive>",
                      "invalid UTF-8"},
        MalformedCase{"TabReferenceInName",
                      "<vimraArchive format=\"1\"><section name=\"a&#9;b\"/></vimraArchive>",
                      "Invalid section name"}),
    [](const ::testing::TestParamInfo<MalformedCase>& info) { return info.param.name; });

TEST(Archive, ReadsReferencesCdataAndLineEndsAsXmlRequires) {
    // References, CDATA and line ends as an XML reader must deliver them;
    // white space in attribute values becomes spaces, references in them stay.
    BaseIArchive in(
        "\xEF\xBB\xBF<?xml version=\"1.0\"?>\r\n"
        "<!DOCTYPE vimraArchive [\n  <!ENTITY e \"]>\"> <!-- ]> --> <?pi ]>?>\n]>\n"
        "<vimraArchive format=\"1\">\r\n"
        "<section\tname = 'a\tb\nc&#x41;' >"
        "<item name=\"chars\" "
        "type=\"string\">&#9;&#xA;&#x10FFFF;&#xE000;&#x7F;&#65;&lt;&apos;</item>"
        "<item name=\"lines\" type=\"string\">1\r\n2\r3\n</item>"
        "<item name=\"cdata\" type=\"string\">x<![CDATA[<&>\r\n]]>y</item>"
        "</section ></vimraArchive>\n<!-- after -->\n");
    in.beginSection("a b cA");
    EXPECT_EQ(in.readString("chars"),
              "\t\n\xF4\x8F\xBF\xBF\xEE\x80\x80\x7F"
              "A<'");
    EXPECT_EQ(in.readString("lines"), "1\n2\n3\n");
    EXPECT_EQ(in.readString("cdata"), "x<&>\ny");
}

// A quote inside a tag where no attribute value can start, and markup whose
// text holds '>' or quotes: deep nesting behind any of them is still refused,
// never followed down until the stack runs out.
struct DeepCase {
    const char* name;
    std::string prefix;
    std::string open;
    const char* error;
};

class DeepDocument : public ::testing::TestWithParam<DeepCase> {};

TEST_P(DeepDocument, IsRefusedWithoutExhaustingTheStack) {
    const DeepCase& c = GetParam();
    std::string doc = c.prefix;
    doc.reserve(doc.size() + 200000 * c.open.size());
    for (int i = 0; i < 200000; ++i) doc += c.open;
    EXPECT_SERIALIZATION_ERROR(BaseIArchive in(doc), c.error);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, DeepDocument,
    ::testing::Values(DeepCase{"QuoteInElementName", "<vimraArchive format=\"1\"><a\"b>",
                               "<section name=\"n\">", "not well-formed XML"},
                      DeepCase{"QuoteInAttributeName", "<vimraArchive format=\"1\">",
                               "<section na\"me=\"n\">", "not well-formed XML"},
                      DeepCase{"ApostropheInElementName", "<vimraArchive format=\"1\"><a'b>",
                               "<section name=\"n\">", "not well-formed XML"},
                      DeepCase{"DoctypeInternalSubset",
                               "<!DOCTYPE vimraArchive [<!ENTITY e \"x'>\"> <!-- \" --> ]>"
                               "<vimraArchive format=\"1\">",
                               "<section name=\"n\">", "deeper than 256 levels"},
                      DeepCase{"QuotesInText", "<vimraArchive format=\"1\">\"'",
                               "<section name=\"n\">'\"", "deeper than 256 levels"},
                      DeepCase{"ClosingBracketInValues", "<vimraArchive format=\"1\">",
                               "<section name='>\"'>", "deeper than 256 levels"},
                      DeepCase{"SelfClosingAtTheBottom", openSections(255), "<section name=\"n\"/>",
                               "deeper than 256 levels"}),
    [](const ::testing::TestParamInfo<DeepCase>& info) { return info.param.name; });

std::string siblings(int count) {
    std::string doc = "<vimraArchive format=\"1\">";
    for (int i = 0; i < count; ++i) doc += "<section name=\"s\"/>\n";
    return doc + "</vimraArchive>";
}

TEST(Archive, ReadsDocumentsOfManySiblings) {
    // 400,000 sibling sections (7.6 MB): the reader makes one pass without
    // recursion (a reader that rescanned the document per tag took 20 s here;
    // timings belong to the benchmarks, not to this test).
    BaseIArchive in(siblings(400000));
    for (int i = 0; i < 400000; ++i) {
        in.beginSection("s");
        in.endSection();
    }
    EXPECT_THROW(in.beginSection("s"), SerializationException);
}

TEST(Archive, AcceptsNestingUpToTheLimit) {
    EXPECT_NO_THROW(BaseIArchive in(nested(255)));  // the root element is the 256th level
    EXPECT_SERIALIZATION_ERROR(BaseIArchive in(nested(256)), "deeper than 256 levels");
}

std::string sampleDocument() {
    BaseOArchive out;
    out.beginSection("InImg1");
    out.writeBool("set", true);
    out.writeUnsigned("sizeX", 640);
    out.endSection();
    out.beginSection("a::B");
    out.writeUnsigned("version", 1);
    out.writeString("formula", "I1 + 2 * I2 < 3 & \"x\"");
    out.writeDouble("factor", -0.25);
    out.endSection();
    return out.str();
}

template <class Source>
void readSample(Source&& doc) {
    BaseIArchive in(doc);
    in.beginSection("InImg1");
    in.readBool("set");
    in.readUnsigned("sizeX");
    in.endSection();
    in.beginSection("a::B");
    in.readUnsigned("version");
    in.readString("formula");
    in.readDouble("factor");
    in.endSection();
}

TEST(Archive, EveryTruncationIsRefused) {
    const std::string doc = sampleDocument();
    ASSERT_NO_THROW(readSample(doc));
    // Only the final line break may be cut without damage.
    const std::size_t complete = doc.find_last_not_of('\n') + 1;
    for (std::size_t length = 0; length < complete; ++length) {
        const std::string what =
            serializationError([&] { BaseIArchive in(doc.substr(0, length)); });
        EXPECT_NE(what, "no exception") << "length " << length;
        EXPECT_EQ(what.find("wrong exception type"), std::string::npos) << what;
    }
}

TEST(Archive, CorruptedDocumentsFailCleanly) {
    // Random byte changes: every outcome is either a successful read or a
    // SerializationException (never another exception, never a crash).
    const std::string doc = sampleDocument();
    std::mt19937 random(12345);
    const std::string alphabet = "<>/\"'&;=!?-[] \\xa0\x80\xFF";
    std::uniform_int_distribution<std::size_t> position(0, doc.size() - 1);
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    int refused = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        std::string corrupted = doc;
        for (int k = 0; k <= trial % 3; ++k) corrupted[position(random)] = alphabet[pick(random)];
        try {
            readSample(corrupted);
        } catch (const SerializationException&) {
            ++refused;
        } catch (const std::exception& e) {
            ADD_FAILURE() << "unexpected exception " << e.what() << " for\n" << corrupted;
        }
    }
    EXPECT_GT(refused, 1000);
}

// ---- Streams -------------------------------------------------------------------

// A stream buffer that fails the way a device can: by throwing.
class ThrowingBuffer : public std::streambuf {
  protected:
    int_type underflow() override { throw std::runtime_error("device unplugged"); }
    int_type overflow(int_type) override { throw std::runtime_error("device unplugged"); }
};

TEST(Archive, FailingInputStreamsGiveTheSerializationError) {
    const std::string reason = "Reading the archive from its stream failed";
    {
        std::ifstream directory(std::filesystem::temp_directory_path());  // opens, but reads fail
        EXPECT_SERIALIZATION_ERROR(BaseIArchive in(directory), reason);
    }
    {
        std::ifstream missing(std::filesystem::temp_directory_path() / "no-such-archive.xml");
        EXPECT_SERIALIZATION_ERROR(BaseIArchive in(missing), reason);
    }
    {
        ThrowingBuffer buffer;
        std::istream throwing(&buffer);
        EXPECT_SERIALIZATION_ERROR(BaseIArchive in(throwing), reason);
        throwing.exceptions(std::ios::badbit | std::ios::failbit);
        EXPECT_SERIALIZATION_ERROR(BaseIArchive in(throwing), reason);
    }
    {
        std::istream none(nullptr);
        EXPECT_SERIALIZATION_ERROR(BaseIArchive in(none), reason);
    }
    // A stream that throws on failure still reads a good document to its end.
    std::istringstream good(sampleDocument());
    good.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
    EXPECT_NO_THROW(readSample(good));
}

TEST(Archive, FailingOutputStreamsGiveTheSerializationError) {
    BaseOArchive out;
    out.writeUnsigned("x", 1);
    ThrowingBuffer buffer;
    std::ostream throwing(&buffer);
    EXPECT_SERIALIZATION_ERROR(out.save(throwing), "Writing the archive to its stream failed");
    throwing.clear();
    throwing.exceptions(std::ios::badbit);
    EXPECT_SERIALIZATION_ERROR(out.save(throwing), "Writing the archive to its stream failed");
}

}  // namespace
