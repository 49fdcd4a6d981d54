#include "blindfold/platform/linux/xml_reader.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "blindfold/text/utf8.h"

namespace blindfold {
namespace {
constexpr CharacterSet hexadecimalDigits("0123456789ABCDEFabcdef");
constexpr CharacterSet publicIdentifierCharacters(
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789 \r\n-'()+,./:=?;!*#@$_%");

constexpr auto entities = std::to_array<std::pair<std::string_view, char32_t>>(
    {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}});

/// A character of XML 1.0.
bool isXMLCharacter(char32_t value) {
  if (value < 0x20) return value == '\t' || value == '\n' || value == '\r';
  const bool isSurrogate = value >= 0xd800 && value <= 0xdfff;
  return !isSurrogate && value != 0xfffe && value != 0xffff && value <= 0x10ffff;
}

char32_t entityNamed(std::string_view name) {
  const auto entity = std::find_if(entities.begin(), entities.end(),
                                   [&](const auto& each) { return each.first == name; });
  requireWellFormed(entity != entities.end());
  return entity->second;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
  const auto lower = [](char each) { return each >= 'A' && each <= 'Z' ? each | 0x20 : each; };
  return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                    [&](char left, char right) { return lower(left) == right; });
}

/// Takes one character, a line end as "\n".
std::string_view takeCharacter(TextCursor& cursor) {
  if (cursor.take("\r")) {
    cursor.take("\n");
    return "\n";
  }
  const CodePoint character = readCodePoint(cursor.rest(), 0);
  requireWellFormed(character.isValid && isXMLCharacter(character.value));
  return cursor.takeCount(character.length);
}
}  // namespace

void XMLReader::readProlog() {
  cursor_.take("\xef\xbb\xbf");
  TextCursor declaration = cursor_;
  if (declaration.take("<?xml") && !declaration.takeWhile(whiteSpace).empty()) readDeclaration();
  skipMiscellany();
  if (cursor_.take("<!DOCTYPE")) readDocumentType();
  skipMiscellany();
}

void XMLReader::readDeclaration() {
  read("<?xml");
  TextCursor version(readAttribute("version").value_or(""));
  requireWellFormed(version.take("1.") && !version.takeWhile(decimalDigits).empty() &&
                    version.isAtEnd());
  requireWellFormed(equalsIgnoringCase(readAttribute("encoding").value_or("utf-8"), "utf-8"));
  const auto standalone = readAttribute("standalone").value_or("no");
  requireWellFormed(standalone == "yes" || standalone == "no");
  readAfterWhiteSpace("?>");
}

/// The rest of a document type: a name, and optionally an external identifier.
void XMLReader::readDocumentType() {
  readWhiteSpace();
  readName();
  cursor_.takeWhile(whiteSpace);
  const bool isPublic = cursor_.take("PUBLIC");
  if (isPublic) {
    readWhiteSpace();
    TextCursor identifier(readLiteral());
    identifier.takeWhile(publicIdentifierCharacters);
    requireWellFormed(identifier.isAtEnd());
  }
  if (isPublic || cursor_.take("SYSTEM")) {
    readWhiteSpace();
    readLiteral();
  }
  readAfterWhiteSpace(">");
}

void XMLReader::readStartTagWithAttribute(std::string_view name, std::string_view attribute) {
  read("<");
  read(name);
  const auto value = readAttribute(attribute).value_or("");
  requireWellFormed(value.find('<') == std::string_view::npos);
  for (auto at = value.find('&'); at != std::string_view::npos; at = value.find('&', at + 1)) {
    XMLReader(value.substr(at)).readReference();
  }
  readAfterWhiteSpace(">");
}

bool XMLReader::readText(std::string* text) {
  const auto append = [text](std::string_view characters) {
    if (text != nullptr) *text += characters;
  };
  for (bool isPlain = true;; isPlain = false) {
    append(cursor_.takePlainText());
    requireWellFormed(!cursor_.isAtEnd());
    const char next = cursor_.rest().front();
    if (next == '&') {
      append(encodeUTF8(readReference()).text());
    } else if (next != '<') {
      requireWellFormed(!cursor_.rest().starts_with("]]>"));
      append(takeCharacter(cursor_));
    } else if (cursor_.take("<![CDATA[")) {
      TextCursor section(readThrough("]]>"));
      while (!section.isAtEnd()) append(takeCharacter(section));
    } else if (!skipCommentOrInstruction()) {
      return isPlain;
    }
  }
}

/// The character that a reference stands for.
char32_t XMLReader::readReference() {
  read("&");
  const bool isNumber = cursor_.take("#");
  const int base = isNumber && cursor_.take("x") ? 16 : 10;
  const auto name = cursor_.takeWhile(isNumber ? hexadecimalDigits : nameCharacters);
  read(";");
  if (!isNumber) return entityNamed(name);
  const auto value =
      static_cast<char32_t>(std::min<std::uint64_t>(numberOf(name, base).value_or(0), 0x110000));
  requireWellFormed(isXMLCharacter(value));
  return value;
}

/// The literal of the attribute `name`; `std::nullopt` when something else is next.
std::optional<std::string_view> XMLReader::readAttribute(std::string_view name) {
  TextCursor attribute = cursor_;
  if (attribute.takeWhile(whiteSpace).empty() || !attribute.take(name)) return std::nullopt;
  cursor_ = attribute;
  readAfterWhiteSpace("=");
  cursor_.takeWhile(whiteSpace);
  return readLiteral();
}

void XMLReader::skipComment() {
  readThrough("--");
  read(">");
}

void XMLReader::skipInstruction() {
  requireWellFormed(!equalsIgnoringCase(readName(), "xml"));
  if (cursor_.take("?>")) return;
  readWhiteSpace();
  readThrough("?>");
}

/// A text in quotation marks of either kind.
std::string_view XMLReader::readLiteral() {
  if (cursor_.take("'")) return readThrough("'");
  read("\"");
  return readThrough("\"");
}

/// Everything up to `mark`, which is read as well.
std::string_view XMLReader::readThrough(std::string_view mark) {
  const auto count = cursor_.rest().find(mark);
  requireWellFormed(count != std::string_view::npos);
  const auto characters = cursor_.takeCount(count);
  TextCursor unchecked(characters);
  unchecked.takePlainText();
  requireWellFormed(isValidUTF8(unchecked.rest(), isXMLCharacter));
  read(mark);
  return characters;
}

}  // namespace blindfold
