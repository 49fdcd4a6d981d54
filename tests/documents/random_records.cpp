#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/hold.h"
#include "blindfold/model/json/json_encoder.h"

namespace blindfold {
namespace {
/// Makes records of any values, by their field tables. The same seed makes the same records.
class RandomRecords {
 public:
  explicit RandomRecords(std::uint64_t seed) : engine_(seed) {}

  template <Record T>
  T make() {
    T record{};
    fill(record);
    return record;
  }

 private:
  std::uint64_t below(std::uint64_t limit) { return engine_() % limit; }

  void fill(bool& value) { value = below(2) == 0; }

  void fill(std::int64_t& value) {
    // As many bits as chance says, so that small numbers and the largest are as likely.
    value = static_cast<std::int64_t>(engine_()) >> below(64);
  }

  void fill(double& value) {
    value = std::ldexp(static_cast<double>(static_cast<std::int64_t>(engine_())),
                       static_cast<int>(below(200)) - 140);
    if (below(2) == 0) value = std::trunc(value);
  }

  void fill(std::string& value) {
    static constexpr std::string_view pieces[] = {"a",  "Z",  "0",      " ",    "/",    "\\",
                                                  "\"", "\n", "\t",     "\x01", "\x7f", "é",
                                                  "漢", "😀", "\u2028", "null"};
    for (auto count = below(12); count > 0; --count) value += pieces[below(std::size(pieces))];
  }

  void fill(Instant& value) {
    constexpr std::int64_t yearZero = -62167219200;
    constexpr std::int64_t yearTenThousand = 253402300800;
    const auto seconds = yearZero + static_cast<std::int64_t>(below(yearTenThousand - yearZero));
    value = Instant(std::chrono::seconds(seconds)) +
            std::chrono::microseconds(static_cast<std::int64_t>(below(1'000'000)));
  }

  template <Enumeration E>
  void fill(E& value) {
    value = static_cast<E>(below(EnumerationCoding<E>::rawValues.size()));
  }

  template <class T>
  void fill(std::optional<T>& value) {
    if (below(2) == 0) fill(value.emplace());
  }

  template <class T>
  void fill(std::vector<T>& list) {
    for (auto count = below(4); count > 0; --count) list.push_back(makeElement<T>());
  }

  template <class T>
  void fill(std::map<std::string, T>& map) {
    for (auto count = below(4); count > 0; --count) map[makeElement<std::string>()] = T(below(9));
  }

  template <class T>
  T makeElement() {
    T element{};
    fill(element);
    return element;
  }

  template <Record T>
  void fill(T& record) {
    std::apply([&](const auto&... field) { (fill(record.*field.member), ...); },
               FieldTable<T>::fields);
  }

  std::mt19937_64 engine_;
};

template <Record T>
void print(RandomRecords& records) {
  const std::string json(makeJSONEncoder().encode(records.make<T>()));
  std::printf("%s %s\n", std::string(FieldTable<T>::name).c_str(), json.c_str());
}
}  // namespace
}  // namespace blindfold

/// random_records SEED COUNT: prints that many records of each kind, one a line: its name, a space,
/// and its JSON form.
int main(int argumentCount, char** arguments) {
  using namespace blindfold;  // NOLINT(google-build-using-namespace): this is the program
  if (argumentCount != 3) return EXIT_FAILURE;
  RandomRecords records(std::strtoull(arguments[1], nullptr, 10));
  for (auto left = std::strtoull(arguments[2], nullptr, 10); left > 0; --left) {
    print<HoldState>(records);
    print<OperationResult>(records);
    print<DetectionResult>(records);
    print<HoldRequest>(records);
  }
}
