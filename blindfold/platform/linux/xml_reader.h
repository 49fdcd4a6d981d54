#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace blindfold {

/// Thrown for a document that is not well-formed XML or uses what `XMLReader` refuses.
struct MalformedXML {};

/// The beginning or the end of an element. Views point into the document.
struct XMLTag {
  enum class Kind { start, end };

  Kind kind;
  std::string_view name;
  std::vector<std::string_view> attributeNames;
};

/// Reads an XML document from its beginning to its end, tag by tag, in linear time. It knows UTF-8
/// only (a byte-order mark may come first), the five entities that every document has, and no
/// others: a document type is read past, and one with declarations of its own is malformed. That
/// every start has its end is for the caller to see. Every operation throws `MalformedXML`.
class XMLReader {
 public:
  /// Borrows `document`, checks its characters and reads up to its first element.
  explicit XMLReader(std::string_view document);

  /// The next tag, which only white space, comments and processing instructions may precede. An
  /// element without content ("<true/>") has a start and an end as any other.
  XMLTag nextTag();

  /// The characters from here to the next tag, references replaced and line ends made "\n".
  std::string text();

  /// Sees that nothing but white space, comments and processing instructions is left.
  void expectEnd();

 private:
  struct Attribute {
    std::string_view name;
    std::string value;
  };

  void readDeclaration();
  void readDocumentType();
  void skipMiscellany();
  bool skipCommentOrInstruction();
  void skipWhiteSpace();
  void readWhiteSpace();
  std::vector<Attribute> readAttributes();
  std::string_view readName();
  std::string_view readLiteral();
  std::string_view readUntil(std::string_view mark);
  bool readOptional(std::string_view mark);
  void read(std::string_view mark);

  std::string_view rest_;
  std::string_view emptyElement_;  // the element whose end is next though it is not written
};

}  // namespace blindfold
