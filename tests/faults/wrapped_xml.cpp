// The calls of platform/posix for XML, on their way to the library.
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>
#include <libxml/xpath.h>

#include "tests/faults/fault_layer.h"

using quillgate::test::failsNow;

// The linker asks for these names.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {
decltype(::xmlNewDoc) __real_xmlNewDoc;
decltype(::xmlNewDocFragment) __real_xmlNewDocFragment;
decltype(::xmlNewDocNode) __real_xmlNewDocNode;
decltype(::xmlAddChild) __real_xmlAddChild;
decltype(::xmlDocSetRootElement) __real_xmlDocSetRootElement;
decltype(::xmlNodeAddContent) __real_xmlNodeAddContent;
decltype(::xmlNodeGetContent) __real_xmlNodeGetContent;
decltype(::xmlSetProp) __real_xmlSetProp;
decltype(::xmlNewParserCtxt) __real_xmlNewParserCtxt;
decltype(::xmlCtxtReadMemory) __real_xmlCtxtReadMemory;
decltype(::xmlXPathNewContext) __real_xmlXPathNewContext;
decltype(::xmlXPathEvalExpression) __real_xmlXPathEvalExpression;
decltype(::xmlBufferCreate) __real_xmlBufferCreate;
decltype(::xmlSaveToBuffer) __real_xmlSaveToBuffer;
decltype(::xmlSaveDoc) __real_xmlSaveDoc;
decltype(::xmlSaveClose) __real_xmlSaveClose;

xmlDoc* __wrap_xmlNewDoc(const xmlChar* version) {
  return failsNow("xmlNewDoc", 0) ? nullptr : __real_xmlNewDoc(version);
}

xmlNode* __wrap_xmlNewDocFragment(xmlDoc* doc) {
  return failsNow("xmlNewDocFragment", 0) ? nullptr : __real_xmlNewDocFragment(doc);
}

xmlNode* __wrap_xmlNewDocNode(xmlDoc* doc, xmlNs* space, const xmlChar* name,
                              const xmlChar* content) {
  return failsNow("xmlNewDocNode", 0) ? nullptr : __real_xmlNewDocNode(doc, space, name, content);
}

xmlNode* __wrap_xmlAddChild(xmlNode* parent, xmlNode* child) {
  return failsNow("xmlAddChild", 0) ? nullptr : __real_xmlAddChild(parent, child);
}

xmlNode* __wrap_xmlDocSetRootElement(xmlDoc* doc, xmlNode* root) {
  return failsNow("xmlDocSetRootElement", 0) ? nullptr : __real_xmlDocSetRootElement(doc, root);
}

void __wrap_xmlNodeAddContent(xmlNode* node, const xmlChar* content) {
  if (!failsNow("xmlNodeAddContent", 0)) __real_xmlNodeAddContent(node, content);
}

xmlChar* __wrap_xmlNodeGetContent(const xmlNode* node) {
  return failsNow("xmlNodeGetContent", 0) ? nullptr : __real_xmlNodeGetContent(node);
}

xmlAttr* __wrap_xmlSetProp(xmlNode* node, const xmlChar* name, const xmlChar* value) {
  return failsNow("xmlSetProp", 0) ? nullptr : __real_xmlSetProp(node, name, value);
}

xmlParserCtxt* __wrap_xmlNewParserCtxt() {
  return failsNow("xmlNewParserCtxt", 0) ? nullptr : __real_xmlNewParserCtxt();
}

xmlDoc* __wrap_xmlCtxtReadMemory(xmlParserCtxt* parser, const char* bytes, int size,
                                 const char* url, const char* encoding, int options) {
  if (failsNow("xmlCtxtReadMemory", 0)) return nullptr;
  return __real_xmlCtxtReadMemory(parser, bytes, size, url, encoding, options);
}

xmlXPathContext* __wrap_xmlXPathNewContext(xmlDoc* doc) {
  return failsNow("xmlXPathNewContext", 0) ? nullptr : __real_xmlXPathNewContext(doc);
}

xmlXPathObject* __wrap_xmlXPathEvalExpression(const xmlChar* path, xmlXPathContext* context) {
  if (failsNow("xmlXPathEvalExpression", 0)) return nullptr;
  return __real_xmlXPathEvalExpression(path, context);
}

xmlBuffer* __wrap_xmlBufferCreate() {
  return failsNow("xmlBufferCreate", 0) ? nullptr : __real_xmlBufferCreate();
}

xmlSaveCtxt* __wrap_xmlSaveToBuffer(xmlBuffer* buffer, const char* encoding, int options) {
  if (failsNow("xmlSaveToBuffer", 0)) return nullptr;
  return __real_xmlSaveToBuffer(buffer, encoding, options);
}

long __wrap_xmlSaveDoc(xmlSaveCtxt* saving, xmlDoc* doc) {
  return failsNow("xmlSaveDoc", 0) ? -1 : __real_xmlSaveDoc(saving, doc);
}

int __wrap_xmlSaveClose(xmlSaveCtxt* saving) {
  const bool fails = failsNow("xmlSaveClose", 0);
  const int result = __real_xmlSaveClose(saving);
  return fails ? -1 : result;
}
}
// NOLINTEND(readability-identifier-naming)
