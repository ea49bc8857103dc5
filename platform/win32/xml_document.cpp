#include "platform/xml_document.h"

#include <windows.h>
// after windows.h
#include <msxml2.h>
#include <objbase.h>
#include <oleauto.h>

#include <algorithm>
#include <new>
#include <utility>

namespace quillgate::platform {
namespace {

constexpr CLSID kDomDocument60{
    0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
constexpr IID kIXMLDOMDocument{
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr IID kIXMLDOMElement{
    0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

// Owns one reference to a COM object.
template <typename Interface>
class ComPtr {
 public:
  ComPtr() noexcept = default;
  ComPtr(ComPtr&& other) noexcept : native_(std::exchange(other.native_, nullptr)) {}
  ComPtr& operator=(ComPtr&&) = delete;
  ~ComPtr() {
    if (native_ != nullptr) native_->Release();
  }

  [[nodiscard]] Interface* get() const noexcept { return native_; }
  Interface* operator->() const noexcept { return native_; }
  explicit operator bool() const noexcept { return native_ != nullptr; }

  // Where a call stores the reference it hands over; nothing must be held yet.
  Interface** receive() noexcept { return &native_; }

 private:
  Interface* native_ = nullptr;
};

// Owns a BSTR.
class BasicString {
 public:
  BasicString() noexcept = default;
  explicit BasicString(const std::wstring& text)
      : native_(::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
    if (native_ == nullptr) throw std::bad_alloc();
  }
  BasicString(const BasicString&) = delete;
  BasicString& operator=(const BasicString&) = delete;
  ~BasicString() { ::SysFreeString(native_); }

  [[nodiscard]] BSTR get() const noexcept { return native_; }
  BSTR* receive() noexcept { return &native_; }
  // A null BSTR is the empty text.
  [[nodiscard]] std::wstring text() const {
    return native_ == nullptr ? std::wstring() : std::wstring(native_, ::SysStringLen(native_));
  }

 private:
  BSTR native_ = nullptr;
};

// Owns a VARIANT and what it holds.
class Variant {
 public:
  explicit Variant(const std::wstring& text) : Variant() {
    native_.bstrVal = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (native_.bstrVal == nullptr) throw std::bad_alloc();
    native_.vt = VT_BSTR;
  }
  explicit Variant(std::span<const std::byte> bytes) : Variant() {
    SAFEARRAY* array = ::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
    if (array == nullptr) throw std::bad_alloc();
    native_.parray = array;
    native_.vt = VT_ARRAY | VT_UI1;
    std::ranges::copy(bytes, static_cast<std::byte*>(array->pvData));
  }
  explicit Variant(IUnknown* object) : Variant() {
    object->AddRef();
    native_.punkVal = object;
    native_.vt = VT_UNKNOWN;
  }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { ::VariantClear(&native_); }

  [[nodiscard]] const VARIANT& get() const noexcept { return native_; }

 private:
  Variant() { ::VariantInit(&native_); }

  VARIANT native_;
};

// The first node that `query` selects from `from`, if it is an element.
ComPtr<IXMLDOMElement> firstElement(IXMLDOMNode* from, const std::wstring& query) {
  ComPtr<IXMLDOMElement> element;
  ComPtr<IXMLDOMNode> node;
  const BasicString nativeQuery(query);
  if (from->selectSingleNode(nativeQuery.get(), node.receive()) == S_OK && node) {
    node->QueryInterface(kIXMLDOMElement, reinterpret_cast<void**>(element.receive()));
  }
  return element;
}

bool hasRoot(IXMLDOMDocument* document) {
  ComPtr<IXMLDOMElement> root;
  return document->get_documentElement(root.receive()) == S_OK && root;
}

bool appendTo(IXMLDOMNode* parent, IXMLDOMNode* child) {
  ComPtr<IXMLDOMNode> appended;
  return parent->appendChild(child, appended.receive()) == S_OK;
}

// The bytes that were written to a stream made by CreateStreamOnHGlobal.
std::optional<std::vector<std::byte>> contentOf(IStream* stream) {
  STATSTG about{};
  HGLOBAL memory = nullptr;
  if (FAILED(stream->Stat(&about, STATFLAG_NONAME)) ||
      FAILED(::GetHGlobalFromStream(stream, &memory))) {
    return std::nullopt;
  }
  const auto* bytes = static_cast<const std::byte*>(::GlobalLock(memory));
  if (bytes == nullptr) return std::nullopt;
  std::vector<std::byte> content(bytes, bytes + about.cbSize.QuadPart);
  ::GlobalUnlock(memory);
  return content;
}

// Whether a carriage return and a line feed end the text differs between versions of the library.
void endWithOneLineFeed(std::vector<std::byte>& text) {
  constexpr std::byte kLineFeed{'\n'};
  constexpr std::byte kCarriageReturn{'\r'};
  while (!text.empty() && (text.back() == kLineFeed || text.back() == kCarriageReturn)) {
    text.pop_back();
  }
  text.push_back(kLineFeed);
}

}  // namespace

struct XmlElement::Native {
  ComPtr<IXMLDOMElement> element;
};

XmlElement::XmlElement(std::unique_ptr<Native> native) noexcept : native_(std::move(native)) {}
XmlElement::XmlElement(XmlElement&&) noexcept = default;
XmlElement& XmlElement::operator=(XmlElement&&) noexcept = default;
XmlElement::~XmlElement() = default;

namespace {

std::optional<XmlElement> elementFor(ComPtr<IXMLDOMElement> element) {
  if (!element) return std::nullopt;
  return XmlElement(std::make_unique<XmlElement::Native>(XmlElement::Native{std::move(element)}));
}

}  // namespace

std::optional<XmlElement> XmlElement::selectSingleNode(const std::wstring& name) const {
  return elementFor(firstElement(native_->element.get(), name));
}

std::optional<std::wstring> XmlElement::text() const {
  BasicString text;
  if (FAILED(native_->element->get_text(text.receive()))) return std::nullopt;
  return text.text();
}

bool XmlElement::setText(const std::wstring& text) {
  VARIANT_BOOL hasContent = VARIANT_FALSE;
  native_->element->hasChildNodes(&hasContent);
  // Otherwise some versions would put an empty text node in, which prints as two tags.
  if (text.empty() && hasContent == VARIANT_FALSE) return true;
  const BasicString nativeText(text);
  return SUCCEEDED(native_->element->put_text(nativeText.get()));
}

bool XmlElement::setAttribute(const std::wstring& name, const std::wstring& value) {
  const BasicString nativeName(name);
  const Variant nativeValue(value);
  return SUCCEEDED(native_->element->setAttribute(nativeName.get(), nativeValue.get()));
}

bool XmlElement::appendChild(const XmlElement& child) {
  return appendTo(native_->element.get(), child.native_->element.get());
}

struct XmlDocument::Native {
  ComPtr<IXMLDOMDocument> document;
};

XmlDocument::XmlDocument(std::unique_ptr<Native> native) noexcept : native_(std::move(native)) {}
XmlDocument::XmlDocument(XmlDocument&&) noexcept = default;
XmlDocument& XmlDocument::operator=(XmlDocument&&) noexcept = default;
XmlDocument::~XmlDocument() = default;

std::optional<XmlDocument> XmlDocument::create() {
  auto native = std::make_unique<Native>();
  auto& document = native->document;
  if (FAILED(::CoCreateInstance(kDomDocument60, nullptr, CLSCTX_INPROC_SERVER, kIXMLDOMDocument,
                                reinterpret_cast<void**>(document.receive())))) {
    return std::nullopt;
  }
  if (FAILED(document->put_async(VARIANT_FALSE)) ||
      FAILED(document->put_validateOnParse(VARIANT_FALSE)) ||
      FAILED(document->put_resolveExternals(VARIANT_FALSE)) ||
      FAILED(document->put_preserveWhiteSpace(VARIANT_TRUE))) {
    return std::nullopt;
  }
  return XmlDocument(std::move(native));
}

bool XmlDocument::parse(std::span<const std::byte> bytes) {
  const Variant source(bytes);
  VARIANT_BOOL loaded = VARIANT_FALSE;
  return native_->document->load(source.get(), &loaded) == S_OK && loaded == VARIANT_TRUE;
}

std::optional<XmlElement> XmlDocument::selectSingleNode(const std::wstring& path) const {
  return elementFor(firstElement(native_->document.get(), path));
}

std::optional<XmlElement> XmlDocument::createElement(const std::wstring& name) {
  ComPtr<IXMLDOMElement> element;
  const BasicString nativeName(name);
  if (FAILED(native_->document->createElement(nativeName.get(), element.receive()))) {
    return std::nullopt;
  }
  return elementFor(std::move(element));
}

bool XmlDocument::appendChild(const XmlElement& root) {
  if (hasRoot(native_->document.get())) return false;
  return appendTo(native_->document.get(), root.native_->element.get());
}

std::optional<std::vector<std::byte>> XmlDocument::print() const {
  if (!hasRoot(native_->document.get())) return std::nullopt;
  ComPtr<IStream> stream;
  if (FAILED(::CreateStreamOnHGlobal(nullptr, TRUE, stream.receive()))) return std::nullopt;
  const Variant destination(stream.get());
  if (FAILED(native_->document->save(destination.get()))) return std::nullopt;
  auto printed = contentOf(stream.get());
  if (printed) endWithOneLineFeed(*printed);
  return printed;
}

}  // namespace quillgate::platform
