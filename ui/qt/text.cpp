#include "ui/qt/text.h"

namespace quillgate {

static_assert(sizeof(wchar_t) == sizeof(char32_t), "our text is UTF-32 here, Qt's is UTF-16");

QString toQt(std::wstring_view text) {
  return QString::fromWCharArray(text.data(), static_cast<qsizetype>(text.size()));
}

std::wstring fromQt(const QString& text) {
  std::wstring wide;
  wide.reserve(static_cast<std::size_t>(text.size()));
  for (qsizetype i = 0; i < text.size(); ++i) {
    const QChar unit = text[i];
    if (unit.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
      wide += static_cast<wchar_t>(QChar::surrogateToUcs4(unit, text[++i]));
    } else {
      wide += static_cast<wchar_t>(unit.unicode());
    }
  }
  return wide;
}

}  // namespace quillgate
