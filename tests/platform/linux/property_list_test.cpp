#include "blindfold/platform/linux/property_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tests/platform/linux/property_lists.h"

namespace blindfold {
namespace {
using testing::IsEmpty;

DictionaryValue text(std::string_view value) {
  return std::string(value);
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
}  // namespace
}  // namespace blindfold
