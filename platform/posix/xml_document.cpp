#include "platform/xml_document.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlmemory.h>
#include <libxml/xmlsave.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <climits>
#include <type_traits>

#include "platform/posix/text.h"

namespace quillgate::platform {
namespace {

template <auto release>
struct Releaser {
  template <typename Native>
  void operator()(Native* native) const {
    release(native);
  }
};

using DocOwner = std::unique_ptr<xmlDoc, Releaser<xmlFreeDoc>>;
using NodeOwner = std::unique_ptr<xmlNode, Releaser<xmlFreeNode>>;
using ParserOwner = std::unique_ptr<xmlParserCtxt, Releaser<xmlFreeParserCtxt>>;
using BufferOwner = std::unique_ptr<xmlBuffer, Releaser<xmlBufferFree>>;
using XPathOwner = std::unique_ptr<xmlXPathContext, Releaser<xmlXPathFreeContext>>;
using XPathResultOwner = std::unique_ptr<xmlXPathObject, Releaser<xmlXPathFreeObject>>;

constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

xmlParserInput* refuseExternalEntity(const char*, const char*, xmlParserCtxt*) { return nullptr; }

// The error is const since libxml2 2.12; each version gets the function it asks for.
constexpr auto kIgnoreError = [](void*, auto*) {};
static_assert(std::is_convertible_v<decltype(kIgnoreError), void (*)(void*, xmlError*)>);
static_assert(std::is_convertible_v<decltype(kIgnoreError), void (*)(void*, const xmlError*)>);

// Text for the library, alive until the end of the full expression that makes it.
class LibraryText {
 public:
  explicit LibraryText(const std::wstring& text) : bytes_(toBytes(text)) {}
  operator const xmlChar*() const { return reinterpret_cast<const xmlChar*>(bytes_.c_str()); }

 private:
  std::string bytes_;
};

xmlNode* firstElement(xmlDoc* doc, xmlNode* from, const std::wstring& path) {
  if (doc == nullptr) return nullptr;
  const XPathOwner context(xmlXPathNewContext(doc));
  if (!context) return nullptr;
  context->error = kIgnoreError;
  context->node = from;
  const XPathResultOwner result(xmlXPathEvalExpression(LibraryText(path), context.get()));
  if (!result || result->type != XPATH_NODESET) return nullptr;
  if (xmlXPathNodeSetIsEmpty(result->nodesetval)) return nullptr;
  xmlXPathNodeSetSort(result->nodesetval);
  xmlNode* first = xmlXPathNodeSetItem(result->nodesetval, 0);
  return first->type == XML_ELEMENT_NODE ? first : nullptr;
}

}  // namespace

struct XmlElement::Native {
  xmlNode* node;  // owned by the document
};

XmlElement::XmlElement(std::unique_ptr<Native> native) noexcept : native_(std::move(native)) {}
XmlElement::XmlElement(XmlElement&&) noexcept = default;
XmlElement& XmlElement::operator=(XmlElement&&) noexcept = default;
XmlElement::~XmlElement() = default;

namespace {

std::optional<XmlElement> elementFor(xmlNode* node) {
  if (node == nullptr) return std::nullopt;
  return XmlElement(std::make_unique<XmlElement::Native>(XmlElement::Native{node}));
}

}  // namespace

std::optional<XmlElement> XmlElement::selectSingleNode(const std::wstring& name) const {
  return elementFor(firstElement(native_->node->doc, native_->node, name));
}

std::optional<std::wstring> XmlElement::text() const {
  const std::unique_ptr<xmlChar, decltype(xmlFree)> content(xmlNodeGetContent(native_->node),
                                                            xmlFree);
  if (!content) return std::nullopt;
  return toWide(reinterpret_cast<const char*>(content.get()));
}

bool XmlElement::setText(const std::wstring& text) {
  xmlNodeSetContent(native_->node, nullptr);
  if (text.empty()) return true;
  xmlNodeAddContent(native_->node, LibraryText(text));
  return native_->node->children != nullptr;
}

bool XmlElement::setAttribute(const std::wstring& name, const std::wstring& value) {
  const LibraryText nativeName(name);
  return xmlValidateName(nativeName, 0) == 0 &&
         xmlSetProp(native_->node, nativeName, LibraryText(value)) != nullptr;
}

bool XmlElement::appendChild(const XmlElement& child) {
  NodeOwner moving(child.native_->node);
  xmlUnlinkNode(moving.get());
  if (xmlAddChild(native_->node, moving.get()) == nullptr) return false;
  static_cast<void>(moving.release());
  return true;
}

struct XmlDocument::Native {
  DocOwner doc;     // none when a parse ran out of memory
  NodeOwner loose;  // a fragment that owns new elements until they are appended; ends before `doc`

  // False when there is no memory for it; there is no document then.
  bool take(DocOwner newDoc) {
    loose.reset();
    doc = std::move(newDoc);
    if (!doc) return false;
    loose.reset(xmlNewDocFragment(doc.get()));
    if (!loose) doc.reset();
    return loose != nullptr;
  }
};

XmlDocument::XmlDocument(std::unique_ptr<Native> native) noexcept : native_(std::move(native)) {}
XmlDocument::XmlDocument(XmlDocument&&) noexcept = default;
XmlDocument& XmlDocument::operator=(XmlDocument&&) noexcept = default;
XmlDocument::~XmlDocument() = default;

std::optional<XmlDocument> XmlDocument::create() {
  xmlSetExternalEntityLoader(&refuseExternalEntity);
  auto native = std::make_unique<Native>();
  if (!native->take(DocOwner(xmlNewDoc(nullptr)))) return std::nullopt;
  return XmlDocument(std::move(native));
}

bool XmlDocument::parse(std::span<const std::byte> bytes) {
  DocOwner parsed;
  const ParserOwner parser(xmlNewParserCtxt());
  if (parser && bytes.size() <= INT_MAX) {
    parsed.reset(xmlCtxtReadMemory(parser.get(), reinterpret_cast<const char*>(bytes.data()),
                                   static_cast<int>(bytes.size()), nullptr, nullptr,
                                   kParseOptions));
    if (parser->wellFormed == 0 || parser->nsWellFormed == 0) parsed.reset();
  }
  const bool complete = parsed != nullptr;
  if (!complete) parsed.reset(xmlNewDoc(nullptr));
  return native_->take(std::move(parsed)) && complete;
}

std::optional<XmlElement> XmlDocument::selectSingleNode(const std::wstring& path) const {
  xmlDoc* doc = native_->doc.get();
  return elementFor(firstElement(doc, reinterpret_cast<xmlNode*>(doc), path));
}

std::optional<XmlElement> XmlDocument::createElement(const std::wstring& name) {
  const LibraryText nativeName(name);
  if (xmlValidateName(nativeName, 0) != 0) return std::nullopt;
  NodeOwner node(xmlNewDocNode(native_->doc.get(), nullptr, nativeName, nullptr));
  if (!node || xmlAddChild(native_->loose.get(), node.get()) == nullptr) return std::nullopt;
  return elementFor(node.release());
}

bool XmlDocument::appendChild(const XmlElement& root) {
  if (xmlDocGetRootElement(native_->doc.get()) != nullptr) return false;
  xmlDocSetRootElement(native_->doc.get(), root.native_->node);
  return xmlDocGetRootElement(native_->doc.get()) == root.native_->node;
}

std::optional<std::vector<std::byte>> XmlDocument::print() const {
  if (xmlDocGetRootElement(native_->doc.get()) == nullptr) return std::nullopt;
  const BufferOwner buffer(xmlBufferCreate());
  if (!buffer) return std::nullopt;
  xmlSaveCtxt* saving = xmlSaveToBuffer(buffer.get(), "UTF-8", XML_SAVE_NO_DECL);
  if (saving == nullptr) return std::nullopt;
  const bool saved = xmlSaveDoc(saving, native_->doc.get()) >= 0;
  if (xmlSaveClose(saving) < 0 || !saved) return std::nullopt;
  const auto* printed = reinterpret_cast<const std::byte*>(xmlBufferContent(buffer.get()));
  return std::vector<std::byte>(printed, printed + xmlBufferLength(buffer.get()));
}

}  // namespace quillgate::platform
