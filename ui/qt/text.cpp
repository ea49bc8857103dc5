#include "ui/qt/text.h"

#include <algorithm>

namespace quillgate {

static_assert(sizeof(wchar_t) == sizeof(char32_t), "our text is UTF-32 here, Qt's is UTF-16");

QString toQt(std::wstring_view text) {
  const auto isOneUnit = [](wchar_t character) {
    return static_cast<char32_t>(character) < 0xD800;
  };
  const auto size = static_cast<qsizetype>(text.size());
  // Qt takes several times as long, and the monitor has texts of a million characters.
  if (!std::ranges::all_of(text, isOneUnit)) return QString::fromWCharArray(text.data(), size);
  QString units(size, Qt::Uninitialized);
  std::ranges::transform(text, units.begin(),
                         [](wchar_t character) { return QChar(static_cast<char16_t>(character)); });
  return units;
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
