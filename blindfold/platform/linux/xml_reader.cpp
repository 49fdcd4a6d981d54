#include "blindfold/platform/linux/xml_reader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {

constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
constexpr std::string_view declarationMark = "<?xml";
constexpr std::string_view whiteSpace = " \t\r\n";
constexpr std::string_view decimalDigits = "0123456789";
constexpr std::string_view noNameStart = "0123456789-.";
constexpr std::string_view nameCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._:";
constexpr std::string_view publicIdentifierCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789 \r\n-'()+,./:=?;!*#@$_%";

struct Entity {
  std::string_view name;
  char character;
};

constexpr std::array<Entity, 5> entities{{
    {"amp", '&'},
    {"lt", '<'},
    {"gt", '>'},
    {"quot", '"'},
    {"apos", '\''},
}};

bool isXMLCharacter(char32_t value) {
  if (value < 0x20) return value == '\t' || value == '\n' || value == '\r';
  const bool isSurrogate = value >= 0xd800 && value <= 0xdfff;
  return !isSurrogate && value != 0xfffe && value != 0xffff;
}

// The value of the digits of a character reference, or nothing when they are none or too many.
std::optional<char32_t> characterNumber(std::string_view digits, char32_t base) {
  constexpr char32_t maximum = 0x10ffff;
  if (digits.empty()) return std::nullopt;
  char32_t value = 0;
  for (const char each : digits) {
    constexpr std::string_view upper = "0123456789ABCDEF";
    constexpr std::string_view lower = "0123456789abcdef";
    const auto digit = std::min(upper.find(each), lower.find(each));
    if (digit >= base) return std::nullopt;
    value = value * base + static_cast<char32_t>(digit);
    if (value > maximum) return std::nullopt;
  }
  return value;
}

void appendCharacterReference(std::string& text, std::string_view digits) {
  const bool isHexadecimal = digits.starts_with('x');
  const auto value = characterNumber(digits.substr(isHexadecimal ? 1 : 0), isHexadecimal ? 16 : 10);
  if (!value || !isXMLCharacter(*value)) throw MalformedXML();
  text += encodeUTF8(*value).text();
}

void appendReference(std::string& text, std::string_view name) {
  if (name.starts_with('#')) return appendCharacterReference(text, name.substr(1));
  const auto entity = std::find_if(entities.begin(), entities.end(),
                                   [&](const auto& each) { return each.name == name; });
  if (entity == entities.end()) throw MalformedXML();
  text += entity->character;
}

void appendWithLineEnds(std::string& text, std::string_view characters) {
  while (!characters.empty()) {
    const auto lineEnd = std::min(characters.find('\r'), characters.size());
    text += characters.substr(0, lineEnd);
    characters.remove_prefix(lineEnd);
    if (characters.empty()) return;
    text += '\n';
    characters.remove_prefix(characters.starts_with("\r\n") ? 2 : 1);
  }
}

void appendWithReferences(std::string& text, std::string_view characters) {
  while (!characters.empty()) {
    const auto reference = std::min(characters.find('&'), characters.size());
    appendWithLineEnds(text, characters.substr(0, reference));
    characters.remove_prefix(reference);
    if (characters.empty()) return;
    const auto end = characters.find(';');
    if (end == std::string_view::npos) throw MalformedXML();
    appendReference(text, characters.substr(1, end - 1));
    characters.remove_prefix(end + 1);
  }
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
  const auto lower = [](char each) {
    return each >= 'A' && each <= 'Z' ? static_cast<char>(each - 'A' + 'a') : each;
  };
  return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                    [&](char left, char right) { return lower(left) == right; });
}

bool isWhiteSpace(char character) {
  return whiteSpace.find(character) != std::string_view::npos;
}

bool startsDeclaration(std::string_view document) {
  return document.starts_with(declarationMark) && document.size() > declarationMark.size() &&
         isWhiteSpace(document[declarationMark.size()]);
}

bool isVersion(std::string_view text) {
  return text.starts_with("1.") && text.size() > 2 &&
         text.find_first_not_of(decimalDigits, 2) == std::string_view::npos;
}

bool isSupportedEncoding(std::string_view text) {
  return equalsIgnoringCase(text, "utf-8");
}

bool isYesOrNo(std::string_view text) {
  return text == "yes" || text == "no";
}

}  // namespace

XMLReader::XMLReader(std::string_view document) : rest_(document) {
  if (!isValidUTF8(document, isXMLCharacter)) throw MalformedXML();
  readOptional(byteOrderMark);
  if (startsDeclaration(rest_)) readDeclaration();
  skipMiscellany();
  if (readOptional("<!DOCTYPE")) readDocumentType();
}

XMLTag XMLReader::nextTag() {
  if (!emptyElement_.empty()) return {XMLTag::Kind::end, std::exchange(emptyElement_, {}), {}};
  skipMiscellany();
  read("<");
  if (readOptional("/")) {
    const std::string_view name = readName();
    skipWhiteSpace();
    read(">");
    return {XMLTag::Kind::end, name, {}};
  }
  XMLTag tag{XMLTag::Kind::start, readName(), {}};
  for (const auto& attribute : readAttributes()) tag.attributeNames.push_back(attribute.name);
  if (readOptional("/")) emptyElement_ = tag.name;
  read(">");
  return tag;
}

std::string XMLReader::text() {
  std::string text;
  if (!emptyElement_.empty()) return text;
  for (;;) {
    const auto markup = rest_.find('<');
    if (markup == std::string_view::npos) throw MalformedXML();
    const std::string_view characters = rest_.substr(0, markup);
    if (characters.find("]]>") != std::string_view::npos) throw MalformedXML();
    appendWithReferences(text, characters);
    rest_.remove_prefix(markup);
    if (readOptional("<![CDATA[")) {
      appendWithLineEnds(text, readUntil("]]>"));
    } else if (!skipCommentOrInstruction()) {
      return text;
    }
  }
}

void XMLReader::expectEnd() {
  skipMiscellany();
  if (!rest_.empty()) throw MalformedXML();
}

// The XML declaration: its version, then perhaps its encoding, then perhaps whether the
// document stands alone.
void XMLReader::readDeclaration() {
  struct Part {
    std::string_view name;
    bool (*isValid)(std::string_view);
  };
  constexpr std::array<Part, 3> parts{{
      {"version", isVersion},
      {"encoding", isSupportedEncoding},
      {"standalone", isYesOrNo},
  }};
  read(declarationMark);
  const auto attributes = readAttributes();
  read("?>");
  if (attributes.empty() || attributes.front().name != "version") throw MalformedXML();
  auto part = parts.begin();
  for (const auto& attribute : attributes) {
    part = std::find_if(part, parts.end(),
                        [&](const auto& each) { return each.name == attribute.name; });
    if (part == parts.end() || !part->isValid(attribute.value)) throw MalformedXML();
    ++part;
  }
}

// The rest of a document type: a name and perhaps where its declarations could be found.
void XMLReader::readDocumentType() {
  readWhiteSpace();
  readName();
  skipWhiteSpace();
  const bool isPublic = readOptional("PUBLIC");
  if (isPublic) {
    readWhiteSpace();
    const auto unexpected = readLiteral().find_first_not_of(publicIdentifierCharacters);
    if (unexpected != std::string_view::npos) throw MalformedXML();
  }
  if (isPublic || readOptional("SYSTEM")) {
    readWhiteSpace();
    readLiteral();
  }
  skipWhiteSpace();
  read(">");
}

void XMLReader::skipMiscellany() {
  do {
    skipWhiteSpace();
  } while (skipCommentOrInstruction());
}

bool XMLReader::skipCommentOrInstruction() {
  if (readOptional("<!--")) {
    readUntil("--");
    read(">");
    return true;
  }
  if (!readOptional("<?")) return false;
  if (equalsIgnoringCase(readName(), "xml")) throw MalformedXML();
  if (readOptional("?>")) return true;
  readWhiteSpace();
  readUntil("?>");
  return true;
}

void XMLReader::skipWhiteSpace() {
  rest_.remove_prefix(std::min(rest_.find_first_not_of(whiteSpace), rest_.size()));
}

void XMLReader::readWhiteSpace() {
  if (rest_.empty() || !isWhiteSpace(rest_.front())) throw MalformedXML();
  skipWhiteSpace();
}

// White space and attributes up to whatever else comes.
std::vector<XMLReader::Attribute> XMLReader::readAttributes() {
  std::vector<Attribute> attributes;
  for (;;) {
    const bool isSeparated = !rest_.empty() && isWhiteSpace(rest_.front());
    skipWhiteSpace();
    if (rest_.starts_with('/') || rest_.starts_with('>') || rest_.starts_with('?')) {
      return attributes;
    }
    if (!isSeparated) throw MalformedXML();
    const std::string_view name = readName();
    skipWhiteSpace();
    read("=");
    skipWhiteSpace();
    const std::string_view literal = readLiteral();
    if (literal.find('<') != std::string_view::npos) throw MalformedXML();
    std::string value;
    appendWithReferences(value, literal);
    attributes.push_back({name, std::move(value)});
  }
}

// Every name that a property list has is ASCII, so others are refused.
std::string_view XMLReader::readName() {
  const auto end = std::min(rest_.find_first_not_of(nameCharacters), rest_.size());
  const std::string_view name = rest_.substr(0, end);
  if (name.empty() || noNameStart.find(name.front()) != std::string_view::npos) {
    throw MalformedXML();
  }
  rest_.remove_prefix(end);
  return name;
}

// A text in quotation marks of either kind.
std::string_view XMLReader::readLiteral() {
  const std::string_view quotationMark = rest_.substr(0, 1);
  if (quotationMark != "\"" && quotationMark != "'") throw MalformedXML();
  read(quotationMark);
  return readUntil(quotationMark);
}

// Everything up to `mark`, which is read as well.
std::string_view XMLReader::readUntil(std::string_view mark) {
  const auto end = rest_.find(mark);
  if (end == std::string_view::npos) throw MalformedXML();
  const std::string_view characters = rest_.substr(0, end);
  rest_.remove_prefix(end + mark.size());
  return characters;
}

bool XMLReader::readOptional(std::string_view mark) {
  if (!rest_.starts_with(mark)) return false;
  rest_.remove_prefix(mark.size());
  return true;
}

void XMLReader::read(std::string_view mark) {
  if (!readOptional(mark)) throw MalformedXML();
}

}  // namespace blindfold
