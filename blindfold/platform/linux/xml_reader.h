#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "blindfold/platform/linux/text_cursor.h"

namespace blindfold {

/// Thrown where a document is malformed.
struct MalformedDocument {};

/// Throws `MalformedDocument` unless `isWellFormed`.
inline void requireWellFormed(bool isWellFormed) {
  if (!isWellFormed) throw MalformedDocument();
}

/// The constructs of XML 1.0 that a document of ASCII names, of elements without attributes and of
/// a document type without declarations is made of. Each operation reads one construct, and throws
/// `MalformedDocument` where it meets another. Takes linear time.
class XMLReader {
 public:
  struct StartTag {
    std::string_view name;
    bool isEmpty;  ///< An element without content: "<true/>".
  };

  /// Borrows `text`, which is UTF-8 or malformed.
  explicit XMLReader(std::string_view text) : cursor_(text) {}

  bool isAtEnd() const { return cursor_.isAtEnd(); }

  /// The text that is not read yet.
  std::string_view rest() const { return cursor_.rest(); }

  /// The part of `rest`, an earlier rest of the text, that has been read since.
  std::string_view readSince(std::string_view rest) const {
    return rest.substr(0, rest.size() - cursor_.rest().size());
  }

  /// Reads all that stands before a document's first element: a byte-order mark, the XML
  /// declaration and the document type, each of which may be missing.
  void readProlog();

  /// Reads the start tag of the element `name`, which may have the attribute `attribute`.
  void readStartTagWithAttribute(std::string_view name, std::string_view attribute);

  /// Reads a start tag without attributes.
  StartTag readStartTag() {
    skipMiscellany();
    read("<");
    const auto name = readName();
    cursor_.takeWhile(whiteSpace);
    const bool isEmpty = cursor_.take("/");
    read(">");
    return {name, isEmpty};
  }

  void readEndTag(std::string_view name) {
    read("</");
    read(name);
    readAfterWhiteSpace(">");
  }

  /// Whether the element that `tag` starts has no more elements; its end tag is then read.
  bool isAtEndOf(const StartTag& tag) {
    if (tag.isEmpty) return true;
    skipMiscellany();
    if (!cursor_.rest().starts_with("</")) return false;
    readEndTag(tag.name);
    return true;
  }

  /// Reads the characters up to the next tag and appends them to `text`, with references replaced,
  /// unless it is null. Returns whether they stand for themselves.
  bool readText(std::string* text);

  /// Reads an element that has the shortest tags around plain text, as nearly all have: at a third
  /// of the cost of its tags and text one by one. `std::nullopt` when another is next.
  template <std::size_t startSize, std::size_t endSize>
  std::optional<std::string_view> readPlainElement(const char (&start)[startSize],
                                                   const char (&end)[endSize]) {
    TextCursor cursor = cursor_;
    if (!cursor.take(start)) return std::nullopt;
    const std::string_view text = cursor.takePlainText();
    if (!cursor.take(end)) return std::nullopt;
    cursor_ = cursor;
    return text;
  }

  /// Skips white space, comments and processing instructions.
  void skipMiscellany() {
    do {
      cursor_.takeWhile(whiteSpace);
    } while (skipCommentOrInstruction());
  }

 private:
  void readDeclaration();
  void readDocumentType();
  std::optional<std::string_view> readAttribute(std::string_view name);
  char32_t readReference();
  std::string_view readLiteral();
  std::string_view readThrough(std::string_view mark);

  bool skipCommentOrInstruction() {
    if (cursor_.take("<!--")) {
      skipComment();
      return true;
    }
    if (!cursor_.take("<?")) return false;
    skipInstruction();
    return true;
  }

  /// The rest of a comment.
  void skipComment();

  /// The rest of a processing instruction.
  void skipInstruction();

  std::string_view readName() {
    const auto name = cursor_.takeWhile(nameCharacters);
    requireWellFormed(!name.empty() && name.front() != '-' && name.front() != '.');
    requireWellFormed(!decimalDigits.contains(name.front()));
    return name;
  }

  void readWhiteSpace() { requireWellFormed(!cursor_.takeWhile(whiteSpace).empty()); }

  void readAfterWhiteSpace(const auto& mark) {
    cursor_.takeWhile(whiteSpace);
    read(mark);
  }

  void read(const auto& mark) { requireWellFormed(cursor_.take(mark)); }

  static constexpr CharacterSet nameCharacters{
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._:"};

  TextCursor cursor_;
};

}  // namespace blindfold
