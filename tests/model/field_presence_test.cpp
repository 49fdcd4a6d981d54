// A record whose fields differ in nothing but their presence, in every arrangement.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "blindfold/model/json/coding_error.h"
#include "blindfold/model/json/list_growth.h"
#include "blindfold/model/json/record_decoding.h"
#include "blindfold/model/json/record_encoding.h"
#include "blindfold/model/record.h"

namespace blindfold {
namespace {
struct Notice {
  std::string title;
  std::optional<std::string> detail;
  std::string tone = "plain";
};
}  // namespace

template <>
struct FieldTable<Notice> {
  static constexpr std::tuple fields{requiredField("title", &Notice::title, ""),
                                     optionalField("detail", &Notice::detail, ""),
                                     defaultedField("tone", &Notice::tone, "")};
};

namespace {
bool operator==(const Notice& left, const Notice& right) {
  return std::tie(left.title, left.detail, left.tone) ==
         std::tie(right.title, right.detail, right.tone);
}

std::optional<Notice> decode(std::string_view text) {
  try {
    return decodeCarefully<Notice>(text);
  } catch (const DecodingError&) {
    return std::nullopt;
  }
}

TEST(FieldPresenceTest, AnAbsentFieldOrANullIsAnErrorNoValueOrTheDefault) {
  for (const std::string_view rest : {"", R"(,"detail":null)", R"(,"tone":null)"}) {
    EXPECT_EQ(decode(R"({"title":"t")" + std::string(rest) + "}"),
              (Notice{"t", std::nullopt, "plain"}));
  }
  EXPECT_EQ(decode(R"({"detail":"d","tone":"loud"})"), std::nullopt);
  EXPECT_EQ(decode(R"({"title":null,"detail":"d","tone":"loud"})"), std::nullopt);
  EXPECT_EQ(decode(R"({"title":"t","detail":"d","tone":"loud"})"), (Notice{"t", "d", "loud"}));
}

/// Up to `count` members, each one of `members`, in every arrangement.
std::vector<std::string> arrangements(const std::vector<std::string>& members, int count) {
  std::vector<std::string> all{""};
  for (std::size_t begin = 0; count > 0; --count) {
    const std::size_t end = all.size();
    for (; begin < end; ++begin) {
      for (const std::string& member : members) {
        all.push_back(all[begin] + (all[begin].empty() ? "" : ",") + member);
      }
    }
  }
  return all;
}

TEST(FieldPresenceTest, OnePassGivesWhatThreeGiveForEveryArrangementOfMembers) {
  const std::vector<std::string> members{
      R"("title":"a")",   R"("title":null)", R"("title":1)",   R"("detail":"b")",
      R"("detail":null)", R"("detail":[])",  R"("tone":"c")",  R"("tone":tru)",
      R"("tone":null)",   R"("other":{})",   R"("other":nul)", "true",
      R"("tone":"c";)",   R"("title")",
  };
  for (const std::string& inner : arrangements(members, 3)) {
    const std::string text = "{" + inner + "}";
    ASSERT_EQ(decodeInOnePass<Notice>(text), decode(text)) << text;
  }
}

TEST(FieldPresenceTest, TheShortestTextOfARecordHasItsRequiredFieldsOnly) {
  EXPECT_EQ(minimumLength<Notice>(), std::string_view(R"({"title":""})").size());
}
}  // namespace
}  // namespace blindfold
