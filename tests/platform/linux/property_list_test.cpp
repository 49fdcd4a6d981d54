#include "blindfold/platform/linux/property_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>

#include "tests/platform/linux/property_list_entries.h"

namespace blindfold {
namespace {
using namespace std::string_literals;
using testing::IsEmpty;

const std::string prolog =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n";

/// A list with this dictionary at its top, and one with this value under the key "k".
std::string listOf(std::string_view entries) {
  return prolog + "<plist version=\"1.0\"><dict>" + std::string(entries) + "</dict></plist>\n";
}
std::string listWith(std::string_view value) {
  return listOf("<key>k</key>" + std::string(value));
}

/// The value of such a list under the key "k"; absent when the list is malformed.
std::optional<DictionaryValue> parsedValue(std::string_view value) {
  const std::string document = listWith(value);
  return valueForKey(parsePropertyList(document), "k");
}

DictionaryValue text(std::string_view value) {
  return std::string(value);
}

bool isMalformed(std::string_view document) {
  return parsePropertyList(document).empty();
}

TEST(PropertyListTest, ADictionaryIsReadKeyByKey) {
  const PropertyListEntries expected{{"a", "1"}, {"b", "2"}};
  EXPECT_EQ(entriesOf(listOf("<key>a</key><string>1</string>\n"
                             "  <key>b</key> <string>2</string>")),
            expected);
}

TEST(PropertyListTest, OfEqualKeysTheLastCounts) {
  const std::string document =
      listOf("<key>k</key><string>1</string><key>l</key><true/><key>k</key><string>2</string>");
  EXPECT_EQ(valueForKey(parsePropertyList(document), "k"), text("2"));
}

TEST(PropertyListTest, AnArrayOfTextsIsRead) {
  EXPECT_EQ(parsedValue("<array><string>1</string><string/></array>"),
            DictionaryValue(ValueArray{"1", ""}));
}

TEST(PropertyListTest, AnEmptyArrayIsRead) {
  EXPECT_EQ(parsedValue("<array/>"), DictionaryValue(ValueArray{}));
  EXPECT_EQ(parsedValue("<array></array>"), DictionaryValue(ValueArray{}));
}

TEST(PropertyListTest, AnElementThatIsNotTextIsAbsentInItsArray) {
  EXPECT_EQ(parsedValue("<array><integer>1</integer><string>2</string><array/><dict/></array>"),
            DictionaryValue(ValueArray{std::nullopt, "2", std::nullopt, std::nullopt}));
}

TEST(PropertyListTest, EveryOtherTypeIsThereAndOpaque) {
  for (const std::string_view value : {
           "<true/>",
           "<false/>",
           "<true></true>",
           "<dict/>",
           "<data/>",
           "<dict><key>x</key><array><dict/></array></dict>",
           "<integer>0</integer>",
           "<integer>-1</integer>",
           "<integer>+1</integer>",
           "<integer> 7\n</integer>",
           "<integer>0xFf</integer>",
           "<integer>0X10</integer>",
           "<integer>18446744073709551615</integer>",
           "<integer>-9223372036854775808</integer>",
           "<real>0</real>",
           "<real>-1.5</real>",
           "<real>1.</real>",
           "<real>1e5</real>",
           "<real>1.5E-300</real>",
           "<real>+2.0e+1</real>",
           "<date>2001-01-01T00:00:00Z</date>",
           "<date>9999-12-31T23:59:59Z</date>",
           "<data>\n  AAEC\n  Aw==\n</data>",
           "<data>ab+/</data>",
           "<data>abc=</data>",
       }) {
    EXPECT_EQ(parsedValue(value), DictionaryValue(OpaqueValue())) << value;
  }
}

TEST(PropertyListTest, AValueThatIsNotInItsTypesFormIsMalformed) {
  for (const std::string_view value : {
           "<integer/>",
           "<integer>x</integer>",
           "<integer>1.0</integer>",
           "<integer>1 2</integer>",
           "<integer>--1</integer>",
           "<integer>+-1</integer>",
           "<integer>0x</integer>",
           "<integer>0x-1</integer>",
           "<integer>ff</integer>",
           "<integer>18446744073709551616</integer>",
           "<integer>-9223372036854775809</integer>",
           "<real/>",
           "<real>x</real>",
           "<real>.5</real>",
           "<real>1e</real>",
           "<real>1e+</real>",
           "<real>1,5</real>",
           "<real>nan</real>",
           "<real>1.5.5</real>",
           "<true>x</true>",
           "<false>0</false>",
           "<date/>",
           "<date>2001-01-01</date>",
           "<date>2001-01-01T00:00:00</date>",
           "<date>2001-13-01T00:00:00Z</date>",
           "<date>2001-00-01T00:00:00Z</date>",
           "<date>2001-01-32T00:00:00Z</date>",
           "<date>2001-01-00T00:00:00Z</date>",
           "<date>2001-01-01T24:00:00Z</date>",
           "<date>2001-01-01T00:60:00Z</date>",
           "<date>2001-01-01T00:00:60Z</date>",
           "<date>2001-01-01t00:00:00Z</date>",
           "<date>2001-01-01T00:00:00ZZ</date>",
           "<date>-001-01-01T00:00:00Z</date>",
           "<data>A</data>",
           "<data>AB</data>",
           "<data>ABC</data>",
           "<data>A===</data>",
           "<data>====</data>",
           "<data>AB=C</data>",
           "<data>AB-_</data>",
       }) {
    EXPECT_EQ(parsedValue(value), std::nullopt) << value;
  }
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

TEST(PropertyListTest, AKeyIsATextAsAnyOther) {
  const PropertyListEntries expected{{"", "1"}, {"a&b", "2"}};
  EXPECT_EQ(entriesOf(listOf("<key/><string>1</string>"
                             "<key>a&amp;<![CDATA[b]]></key><string>2</string>")),
            expected);
}

TEST(PropertyListTest, AKeyIsFoundHoweverItIsSpelled) {
  const std::string document = listOf("<key>a&amp;b</key><true/><key>a&amp;amp;b</key><false/>");
  const auto dictionary = parsePropertyList(document);
  EXPECT_TRUE(valueForKey(dictionary, "a&b"));
  EXPECT_TRUE(valueForKey(dictionary, "a&amp;b"));
  EXPECT_FALSE(valueForKey(dictionary, "a&amp;amp;b"));
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

TEST(PropertyListTest, ADictionaryIsKeysAndValuesInTurn) {
  for (const std::string_view entries : {
           "<key>k</key>",
           "<true/>",
           "<key>k</key><key>k</key>",
           "<string>k</string><true/>",
           "<key>k</key><true/><true/>",
           "<key>k</key><true/><key>l</key>",
           "x<key>k</key><true/>",
           "<key>k</key>x<true/>",
           "<key>k</key><true/>x",
           "<key>k</key><true/>&amp;",
           "<key>k</key><![CDATA[ ]]><true/>",
           "<key><true/></key><true/>",
           "<key>k</key><unknown/>",
           "<key>k</key><plist/>",
           "<KEY>k</KEY><true/>",
           "<key>k</key><True/>",
           "<key>k</key></true>",
       }) {
    EXPECT_TRUE(isMalformed(listOf(entries))) << entries;
  }
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

TEST(PropertyListTest, AListHasOneDictionaryAndNothingElse) {
  for (const std::string_view document : {
           "",
           " ",
           "\xef\xbb\xbf",
           "<",
           "<plist",
           "<plist>",
           "<plist/>",
           "<plist></plist>",
           "<dict><key>k</key><true/></dict>",
           "<plist><dict><key>k</key><true/></dict>",
           "<plist><dict><key>k</key><true/></dict><dict/></plist>",
           "<plist><dict><key>k</key><true/></dict>x</plist>",
           "<plist>x<dict><key>k</key><true/></dict></plist>",
           "<plist><dict><key>k</key><true/></dict></plist>x",
           "<plist><dict><key>k</key><true/></dict></plist><plist/>",
           "<plist><dict><key>k</key><true/></dict></dict></plist>",
           "<list><dict><key>k</key><true/></dict></list>",
           "</plist><dict><key>k</key><true/></dict></plist>",
           "bplist00\xd1\x01\x02QkQv\x08\x0b\x0d",
           "{ k = v; }",
       }) {
    EXPECT_TRUE(isMalformed(document)) << document;
  }
}

TEST(PropertyListTest, AListOfAnotherValueHasNoEntries) {
  EXPECT_THAT(parsePropertyList("<plist><array><string>k</string></array></plist>"), IsEmpty());
  EXPECT_THAT(parsePropertyList("<plist><string>k</string></plist>"), IsEmpty());
}

TEST(PropertyListTest, AListThatIsCutShortAnywhereIsMalformed) {
  const std::string list = listOf(
      "<key>k</key><array><string>a&amp;<![CDATA[b]]><!--c--></string></array>"
      "<key>l</key><data>AAAA</data>");
  const std::size_t end = list.rfind('>') + 1;
  for (std::size_t size = 0; size < end; ++size) {
    ASSERT_TRUE(isMalformed(std::string_view(list).substr(0, size))) << size;
  }
  EXPECT_FALSE(isMalformed(list));
}

TEST(PropertyListTest, ACharacterThatXMLDoesNotHaveIsMalformedAnywhere) {
  for (const std::string& character : {"\0"s, "\x01"s, "\x1f"s, "\xff"s, "\xc3"s, "\xed\xa0\x80"s,
                                       "\xef\xbf\xbe"s, "\xef\xbf\xbf"s, "\xc0\x80"s}) {
    EXPECT_EQ(parsedValue("<string>" + character + "</string>"), std::nullopt);
    EXPECT_EQ(parsedValue("<!--" + character + "--><true/>"), std::nullopt);
    EXPECT_TRUE(isMalformed(listWith("<true/>") + character));
  }
}

std::string repeated(int count, std::string_view part) {
  std::string text;
  for (; count > 0; --count) text += part;
  return text;
}

std::string nestedArrays(int levels) {
  return repeated(levels, "<array>") + repeated(levels, "</array>");
}

std::string nestedDictionaries(int levels) {
  return repeated(levels - 1, "<dict><key>k</key>") + "<dict/>" + repeated(levels - 1, "</dict>");
}

/// The dictionary at the top of every list is the first level.
constexpr int levelsLeft = maximumPropertyListNesting - 1;

TEST(PropertyListTest, ValuesNestUpToTheLimit) {
  EXPECT_TRUE(parsedValue(nestedArrays(levelsLeft)));
  EXPECT_TRUE(parsedValue(nestedDictionaries(levelsLeft)));
}

TEST(PropertyListTest, ValuesThatNestDeeperAreMalformed) {
  EXPECT_FALSE(parsedValue(nestedArrays(levelsLeft + 1)));
  EXPECT_FALSE(parsedValue(nestedDictionaries(levelsLeft + 1)));
  EXPECT_FALSE(parsedValue(nestedArrays(100'000)));
  EXPECT_FALSE(parsedValue(repeated(100'000, "<dict><key>k</key>")));
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
