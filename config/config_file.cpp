#include "config/config_file.h"

#include <optional>
#include <string_view>
#include <vector>

#include "config/xml_guard.h"
#include "core/text.h"
#include "platform/file.h"
#include "platform/xml_document.h"

namespace quillgate {
namespace {

using platform::XmlDocument;
using platform::XmlElement;

// The text of the rule's child element without the blanks around it; `fallback` where there is
// none.
std::wstring childText(const XmlElement& rule, const std::wstring& name, std::wstring fallback) {
  std::optional<std::wstring> text;
  if (const auto child = rule.selectSingleNode(name)) text = child->text();
  return std::wstring(trimmed(text.value_or(std::move(fallback))));
}

bool isTrue(std::wstring_view text) { return text == L"1" || equalsIgnoringCase(text, L"true"); }

ForwardRule readRule(const XmlElement& element) {
  ForwardRule rule;
  rule.enabled = isTrue(childText(element, L"enabled", L"0"));
  rule.proto = equalsIgnoringCase(childText(element, L"proto", L"tcp"), L"udp") ? Protocol::udp
                                                                                : Protocol::tcp;
  rule.localPort = portFrom(childText(element, L"localPort", L"0"));
  if (std::wstring ip = childText(element, L"targetIp", rule.targetIp); !ip.empty()) {
    rule.targetIp = std::move(ip);
  }
  rule.targetPort = portFrom(childText(element, L"targetPort", L"0"));
  return rule;
}

bool parseFile(XmlDocument& document, const std::wstring& path) {
  const auto bytes = platform::readFile(path, kMaxConfigFileBytes);
  return bytes && isAcceptableXml(*bytes) && document.parse(*bytes);
}

// `text` without the characters that no XML document can hold, not even escaped: a file with one of
// them in it could not be loaded again.
std::wstring xmlCharacters(std::wstring_view text) {
  const auto isSurrogate = [](wchar_t c, std::uint32_t first) {
    return (static_cast<std::uint32_t>(c) & 0xFFFFFC00U) == first;
  };
  std::wstring kept;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<std::uint32_t>(text[i]);
    if (c < 0x20 && c != L'\t' && c != L'\n' && c != L'\r') continue;
    if (c == 0xFFFE || c == 0xFFFF || c > 0x10FFFF) continue;
    const bool pair = sizeof(wchar_t) == 2 && isSurrogate(text[i], 0xD800) && i + 1 < text.size() &&
                      isSurrogate(text[i + 1], 0xDC00);
    if (pair) {
      kept += text[i++];
    } else if (isSurrogate(text[i], 0xD800) || isSurrogate(text[i], 0xDC00)) {
      continue;
    }
    kept += text[i];
  }
  return kept;
}

// A child that cannot be created is left out; the reader then takes its default.
void appendTextElement(XmlDocument& document, XmlElement& parent, const std::wstring& name,
                       const std::wstring& value) {
  auto element = document.createElement(name);
  if (!element) return;
  element->setText(value);
  parent.appendChild(*element);
}

bool appendRule(XmlDocument& document, XmlElement& rules, std::size_t id, const ForwardRule& rule) {
  auto element = document.createElement(L"rule");
  if (!element || !element->setAttribute(L"id", std::to_wstring(id))) return false;
  appendTextElement(document, *element, L"enabled", rule.enabled ? L"1" : L"0");
  appendTextElement(document, *element, L"proto", rule.proto == Protocol::tcp ? L"tcp" : L"udp");
  appendTextElement(document, *element, L"localPort", std::to_wstring(rule.localPort));
  appendTextElement(document, *element, L"targetIp", xmlCharacters(rule.targetIp));
  appendTextElement(document, *element, L"targetPort", std::to_wstring(rule.targetPort));
  return rules.appendChild(*element);
}

bool buildDocument(XmlDocument& document, const RuleSet& rules) {
  auto config = document.createElement(L"config");
  auto list = document.createElement(L"rules");
  if (!config || !list || !document.appendChild(*config) || !config->appendChild(*list)) {
    return false;
  }
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (!appendRule(document, *list, i + 1, rules[i])) return false;
  }
  return true;
}

bool writeDocument(XmlDocument& document, const RuleSet& rules, const std::wstring& path) {
  if (!buildDocument(document, rules)) return false;
  const auto bytes = document.print();
  return bytes && platform::replaceFile(path, *bytes);
}

}  // namespace

bool loadConfig(EventLog& log, RuleSet& rules, const std::wstring& path) {
  const auto fail = [&](const std::wstring& message) {
    log.write(message);
    return false;
  };
  rules = RuleSet{};
  if (!platform::pathExists(path)) return fail(L"XML not found -> using defaults. Path=" + path);
  auto document = XmlDocument::create();
  if (!document) return fail(L"MSXML init failed.");
  if (!parseFile(*document, path)) {
    return fail(L"Failed to load XML (parse error) -> defaults used. Path=" + path);
  }
  if (!document->selectSingleNode(L"/config")) {
    return fail(L"XML missing /config root -> defaults used. Path=" + path);
  }
  for (std::size_t i = 0; i < rules.size(); ++i) {
    const auto element =
        document->selectSingleNode(L"/config/rules/rule[@id='" + std::to_wstring(i + 1) + L"']");
    if (element) rules[i] = readRule(*element);
  }
  log.write(L"Loaded XML successfully: " + path);
  return true;
}

bool saveConfig(EventLog& log, const RuleSet& rules, const std::wstring& path) {
  auto document = XmlDocument::create();
  if (!document) {
    log.write(L"MSXML init failed (save).");
    return false;
  }
  const bool saved = writeDocument(*document, rules, path);
  log.write((saved ? L"Saved XML: " : L"Failed to save XML: ") + path);
  return saved;
}

}  // namespace quillgate
