// An XML document as a tree in memory: parse, find by XPath, read text; build, print.
//
// One thread at a time, and on Windows only a thread on which startPlatform() ran. Parsing never
// opens anything but the bytes it is given: no external entity, no DTD, no network. Names and texts
// are wide.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quillgate::platform {

// An element of a document. A light handle: it must not outlive its document.
class XmlElement {
 public:
  struct Native;
  explicit XmlElement(std::unique_ptr<Native> native) noexcept;
  XmlElement(XmlElement&&) noexcept;
  XmlElement& operator=(XmlElement&&) noexcept;
  ~XmlElement();

  // The first child element with this name, or nothing. `name` is an XPath step without a prefix.
  [[nodiscard]] std::optional<XmlElement> selectSingleNode(const std::wstring& name) const;

  // All character data inside the element, in document order; comments do not count. Empty when the
  // library cannot give it.
  [[nodiscard]] std::optional<std::wstring> text() const;

  // Makes `text` the whole content. Characters that XML cannot hold must not be in it.
  bool setText(const std::wstring& text);
  bool setAttribute(const std::wstring& name, const std::wstring& value);
  // Makes `child`, a new element of the same document, the last child. After false, which is the
  // library's refusal, `child` must not be used any more.
  bool appendChild(const XmlElement& child);

 private:
  friend class XmlDocument;
  std::unique_ptr<Native> native_;
};

class XmlDocument {
 public:
  // Nothing when the XML library is not there.
  [[nodiscard]] static std::optional<XmlDocument> create();

  XmlDocument(XmlDocument&&) noexcept;
  XmlDocument& operator=(XmlDocument&&) noexcept;
  ~XmlDocument();

  // Replaces the document by the one in `bytes`; elements of the former one must not be used any
  // more. True only for a complete, well-formed document; after false the document is empty. White
  // space is kept.
  [[nodiscard]] bool parse(std::span<const std::byte> bytes);

  // The first element in document order that the absolute XPath selects, or nothing.
  [[nodiscard]] std::optional<XmlElement> selectSingleNode(const std::wstring& path) const;

  // A new element for the document, which is not in its tree until it is appended. `name` is an XML
  // name without a prefix.
  [[nodiscard]] std::optional<XmlElement> createElement(const std::wstring& name);

  // Makes `root` the document element; false when there is one already.
  bool appendChild(const XmlElement& root);

  // The document as UTF-8 without a declaration and without any blank that is not in the tree,
  // ended by one line feed; an element without content is one tag. Nothing when there is no
  // document element or the library fails.
  [[nodiscard]] std::optional<std::vector<std::byte>> print() const;

 private:
  struct Native;
  explicit XmlDocument(std::unique_ptr<Native> native) noexcept;
  std::unique_ptr<Native> native_;
};

}  // namespace quillgate::platform
