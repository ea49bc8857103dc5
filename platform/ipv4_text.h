// What the systems' own readers of IPv4 addresses do not agree on. Pure; any thread.
#pragma once

#include <string_view>

namespace quillgate::platform {

// Whether `text` has digits from 0 to 9 and dots only. All else that is no address inet_pton and
// InetPtonW refuse by themselves, leading zeros among it. But both end at a zero character, and the
// InetPtonW of wine 8 takes full-width digits and dots, too.
[[nodiscard]] constexpr bool hasOnlyDigitsAndDots(std::wstring_view text) {
  return text.find_first_not_of(L"0123456789.") == text.npos;
}

}  // namespace quillgate::platform
