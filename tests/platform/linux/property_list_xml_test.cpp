// The XML of a property list: texts, references, comments, declarations and tags.

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/platform/linux/property_list.h"
#include "tests/platform/linux/property_lists.h"

namespace blindfold {
namespace {
using namespace std::string_literals;

DictionaryValue text(std::string_view value) {
  return std::string(value);
}

TEST(PropertyListTest, ATextKeepsItsWhiteSpace) {
  EXPECT_EQ(parsedValue("<string>  a\t b\n</string>"), text("  a\t b\n"));
}

TEST(PropertyListTest, TheLineEndsOfATextAreMadeOne) {
  EXPECT_EQ(parsedValue("<string>a\r\nb\rc\nd\r\r\n</string>"), text("a\nb\nc\nd\n\n"));
  EXPECT_EQ(parsedValue("<string>a&#13;&#xD;&#10;b&#9;</string>"), text("a\r\r\nb\t"));
}

TEST(PropertyListTest, TheFiveEntitiesAreReplaced) {
  EXPECT_EQ(parsedValue("<string>&lt;a b=&quot;&apos;&quot;&gt; &amp;amp;</string>"),
            text("<a b=\"'\"> &amp;"));
}

TEST(PropertyListTest, CharacterReferencesAreReplaced) {
  EXPECT_EQ(parsedValue("<string>&#65;&#x42;&#x00e9;&#128512;&#x1F600;&#0000067;</string>"),
            text("AB\u00e9\U0001F600\U0001F600C"));
}

TEST(PropertyListTest, AReferenceToNoCharacterIsMalformed) {
  for (const std::string_view reference : {
           "&#0;",     "&#1;",       "&#x1F;",
           "&#xD800;", "&#xDFFF;",   "&#xFFFE;",
           "&#xFFFF;", "&#x110000;", "&#99999999999999999999999;",
           "&#;",      "&#x;",       "&#X41;",
           "&#4A;",    "&#x4G;",     "&#-1;",
           "&nbsp;",   "&;",         "&",
           "& ",       "&amp",       "&AMP;",
           "&lt;&",    "&#65",
       }) {
    EXPECT_EQ(parsedValue("<string>" + std::string(reference) + "</string>"), std::nullopt)
        << reference;
  }
}

TEST(PropertyListTest, ACharacterDataSectionIsTakenAsItStands) {
  EXPECT_EQ(parsedValue("<string>a<![CDATA[<b> &amp; ]] > \r\n]]>c<![CDATA[]]></string>"),
            text("a<b> &amp; ]] > \nc"));
}

TEST(PropertyListTest, CommentsAndInstructionsAreNoPartOfAText) {
  EXPECT_EQ(parsedValue("<string>a<!-- <b> & - --><?target data?>b</string>"), text("ab"));
}

TEST(PropertyListTest, CommentsAndInstructionsMayStandBetweenElements) {
  const PropertyListEntries expected{{"k", "v"}};
  EXPECT_EQ(entriesOf("<?xml version='1.0'?><!-- 1 --><?a?>\n<!DOCTYPE plist><!-- 2 -->"
                      "<plist><!-- 3 --><dict><?b c?><key>k</key><!-- 4 -->"
                      "<string>v</string><!----></dict><!-- 5 --></plist><!-- 6 --><?d?>"),
            expected);
}

TEST(PropertyListTest, TextsAreTakenFromEveryPlaneOfUnicode) {
  EXPECT_EQ(parsedValue("<string>\u00fc\u20ac\U0001F600</string>"), text("\u00fc\u20ac\U0001F600"));
}

TEST(PropertyListTest, AByteOrderMarkMayComeFirst) {
  EXPECT_FALSE(isMalformed("\xef\xbb\xbf" + listWith("<true/>")));
  EXPECT_TRUE(isMalformed("\xef\xbb\xbf\xef\xbb\xbf" + listWith("<true/>")));
}

TEST(PropertyListTest, WhiteSpaceMayStandWithinTags) {
  EXPECT_FALSE(
      isMalformed("<plist  version = '1.0' ><dict\n><key >k</key\t><true /></dict ></plist >"));
}

TEST(PropertyListTest, DeclarationsOfSeveralFormsAreTaken) {
  const std::string body = "<plist><dict><key>k</key><true/></dict></plist>";
  for (const std::string_view declaration : {
           "",
           R"(<?xml version="1.0"?>)",
           "<?xml version='1.1' encoding='utf-8'?>",
           R"(<?xml version="1.0" encoding="UTF-8" standalone="no" ?>)",
           R"(<?xml version="1.0" standalone='yes'?>)",
           "<?xml-stylesheet href='a'?>",
           "<!DOCTYPE plist>",
           "<!DOCTYPE plist SYSTEM 'file://a'>",
           R"(<!DOCTYPE plist PUBLIC "a" 'b' >)",
       }) {
    EXPECT_FALSE(isMalformed(std::string(declaration) + body)) << declaration;
  }
}

TEST(PropertyListTest, OtherDeclarationsAreMalformed) {
  const std::string body = "<plist><dict><key>k</key><true/></dict></plist>";
  for (const std::string_view declaration : {
           "<?xml?>",
           "<?xml ?>",
           "<?xml encoding='UTF-8'?>",
           "<?xml version='2.0'?>",
           "<?xml version='1.'?>",
           "<?xml version='1.x'?>",
           "<?xml version='1.0x'?>",
           "<?xml version='1.0' version='1.0'?>",
           "<?xml version='1.0' encoding='ISO-8859-1'?>",
           "<?xml version='1.0' encoding='UTF-16'?>",
           "<?xml version='1.0' standalone='no' encoding='UTF-8'?>",
           "<?xml version='1.0' standalone='maybe'?>",
           "<?xml version='1.0' other='1'?>",
           "<?xml version='1.0'encoding='UTF-8'?>",
           "<?xml version=1.0?>",
           "<?xml version='1.0'>",
           " <?xml version='1.0'?>",
           "<?xml version='1.0'?><?xml version='1.0'?>",
           "<?XML version='1.0'?>",
           "<!-- --><?xml version='1.0'?>",
           "<!DOCTYPE>",
           "<!DOCTYPEplist>",
           "<!DOCTYPE plist PUBLIC 'a'>",
           "<!DOCTYPE plist PUBLIC 'a''b'>",
           "<!DOCTYPE plist SYSTEM>",
           "<!DOCTYPE plist 'a'>",
           "<!DOCTYPE plist SYSTEM 'a'",
           "<!DOCTYPE plist><!DOCTYPE plist>",
           "<!doctype plist>",
           "<!ELEMENT plist ANY>",
           "text",
           "&amp;",
           "<![CDATA[]]>",
           "<?>",
           "<? ?>",
           "<?-a?>",
           "<?.a?>",
           "<?1?>",
           "<?a/b?>",
           "<?\x7f?>",
           "<!DOCTYPE pl@st>",
           "<!DOCTYPE plist PUBLIC '&' 'b'>",
       }) {
    EXPECT_TRUE(isMalformed(std::string(declaration) + body)) << declaration;
  }
}

TEST(PropertyListTest, ADocumentTypeWithDeclarationsOfItsOwnIsMalformed) {
  const std::string bomb =
      "<!DOCTYPE plist [<!ENTITY a \"ha\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">]>"
      "<plist><dict><key>k</key><string>&b;</string></dict></plist>";
  EXPECT_TRUE(isMalformed(bomb));
  EXPECT_TRUE(isMalformed("<!DOCTYPE plist []><plist><dict><key>k</key><true/></dict></plist>"));
}

TEST(PropertyListTest, ElementsEndWhereTheyMust) {
  for (const std::string_view value : {
           "<string>",
           "<string>a",
           "<string>a</key>",
           "<string>a</string",
           "<string>a<string/>",
           "<string>a<true/></string>",
           "<array>",
           "<array><true/>",
           "<array></dict>",
           "<array><string>a</array></string>",
           "<array>x</array>",
           "<dict>",
           "<dict></array>",
           "</string>",
           "<true>",
           "<true></false>",
           "<true/",
           "<true / >",
           "< true/>",
           "<true>/",
           "<string>a</ string>",
           "<string>a</string x='1'>",
           "<>",
           "</>",
           "<!-->",
           "<!-- -- -->",
           "<!-- --->",
           "<!--",
           "<string><![CDATA[a]]</string>",
           "<string>]]></string>",
           "<![CDATA[a]]>",
           "<?a",
           "<string><?xml ?></string>",
       }) {
    EXPECT_EQ(parsedValue(value), std::nullopt) << value;
    EXPECT_EQ(parsedValue(std::string(value) + "<true/>"), std::nullopt) << value;
  }
}

TEST(PropertyListTest, OnlyTheListHasAnAttributeAndOnlyItsVersion) {
  EXPECT_FALSE(isMalformed("<plist><dict><key>k</key><true/></dict></plist>"));
  EXPECT_FALSE(isMalformed("<plist version='&lt;]]>'><dict><key>k</key><true/></dict></plist>"));
  for (const std::string_view document : {
           "<plist version='1.0' version='1.0'><dict><key>k</key><true/></dict></plist>",
           "<plist other='1.0'><dict><key>k</key><true/></dict></plist>",
           "<plist version><dict><key>k</key><true/></dict></plist>",
           "<plist version=><dict><key>k</key><true/></dict></plist>",
           "<plist version=1><dict><key>k</key><true/></dict></plist>",
           "<plist version='1\"><dict><key>k</key><true/></dict></plist>",
           "<plist version='<'><dict><key>k</key><true/></dict></plist>",
           "<plist version='&x;'><dict><key>k</key><true/></dict></plist>",
           "<plistversion='1'><dict><key>k</key><true/></dict></plist>",
           "<plist version='1'?><dict><key>k</key><true/></dict></plist>",
           "<plist><dict a='1'><key>k</key><true/></dict></plist>",
           "<plist><dict><key a='1'>k</key><true/></dict></plist>",
           "<plist><dict><key>k</key><true a='1'/></dict></plist>",
           "<plist><dict><key>k</key><array><true a='1'/></array></dict></plist>",
       }) {
    EXPECT_TRUE(isMalformed(document)) << document;
  }
}

TEST(PropertyListTest, ACharacterThatXMLDoesNotHaveIsMalformedAnywhere) {
  for (const std::string& character : {"\0"s, "\x01"s, "\x1f"s, "\xff"s, "\xc3"s, "\xed\xa0\x80"s,
                                       "\xef\xbf\xbe"s, "\xef\xbf\xbf"s, "\xc0\x80"s}) {
    EXPECT_EQ(parsedValue("<string>" + character + "</string>"), std::nullopt);
    EXPECT_EQ(parsedValue("<!--" + character + "--><true/>"), std::nullopt);
    EXPECT_TRUE(isMalformed(listWith("<true/>") + character));
  }
}

/// Whether the list of this value, of some megabytes, is judged in the time of a linear reading.
void expectQuick(std::string_view value, bool isWellFormed) {
  const std::string list = listWith(value);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(isMalformed(list), !isWellFormed);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(PropertyListTest, LongListsTakeLinearTime) {
  constexpr int count = 200'000;
  expectQuick("<string>" + repeated(count, "&amp;") + "</string>", true);
  expectQuick("<string>" + repeated(count, "\r") + "</string>", true);
  expectQuick("<string>" + repeated(count, "<![CDATA[]]>") + "</string>", true);
  expectQuick("<string>" + repeated(count, "<!---->") + "</string>", true);
  expectQuick("<array>" + repeated(count, "<string/>") + "</array>", true);
  expectQuick("<dict>" + repeated(count / 4, "<key>k</key><true/>") + "</dict>", true);
  expectQuick("<data>" + repeated(count, "AAAA") + "</data>", true);
  expectQuick("<string>" + repeated(count, "]]") + "</string>", true);
  expectQuick("<true" + repeated(count, " a='1'") + "/>", false);
  expectQuick("<string>" + repeated(count, "&a") + "</string>", false);
  expectQuick("<string>&#" + repeated(count, "0") + "65;</string>", true);
  expectQuick("<integer>" + repeated(count, "1") + "</integer>", false);
  expectQuick("<" + repeated(count, "a") + "/>", false);
}
}  // namespace
}  // namespace blindfold
