#include "tests/support/number_check.h"

#include <cstdint>
#include <string>
#include <string_view>

#include "core/text.h"
#include "tests/support/require.h"

namespace quillgate::test {
namespace {

constexpr std::wstring_view kAlphabet =
    L"0123456789012345678921474836472147483648655356553600+- \t\r\n\v\f\u00A0\u2003\u3000\u0663x.";
constexpr std::wstring_view kBlanks = L" \t\r\n\v\f\u00A0\u2003\u3000";  // those of the alphabet

std::wstring textFrom(std::span<const std::byte> bytes) {
  std::wstring text;
  for (const std::byte byte : bytes) {
    text += kAlphabet[std::to_integer<std::size_t>(byte) % kAlphabet.size()];
  }
  return text;
}

// A number as it is written: its sign, and its digits without zeros in front.
struct Written {
  bool negative = false;
  std::wstring digits;
};

Written readWritten(std::wstring_view text) {
  while (!text.empty() && kBlanks.find(text.front()) != std::wstring_view::npos) {
    text.remove_prefix(1);
  }
  Written number;
  if (!text.empty() && (text.front() == L'-' || text.front() == L'+')) {
    number.negative = text.front() == L'-';
    text.remove_prefix(1);
  }
  while (!text.empty() && text.front() >= L'0' && text.front() <= L'9') {
    if (text.front() != L'0' || !number.digits.empty()) number.digits += text.front();
    text.remove_prefix(1);
  }
  return number;
}

// Whether the digits say more than those of `limit`.
bool exceeds(const std::wstring& digits, std::wstring_view limit) {
  return digits.size() != limit.size() ? digits.size() > limit.size() : digits > limit;
}

std::int32_t slowInteger(std::wstring_view text) {
  const Written number = readWritten(text);
  if (exceeds(number.digits, number.negative ? L"2147483648" : L"2147483647")) {
    return number.negative ? INT32_MIN : INT32_MAX;
  }
  const std::wstring digits = L"0" + number.digits;
  return static_cast<std::int32_t>(std::stoll(number.negative ? L"-" + digits : digits));
}

std::uint16_t slowPort(std::wstring_view text) {
  const Written number = readWritten(text);
  if (number.negative) return 0;
  if (exceeds(number.digits, L"65535")) return 65535;
  return static_cast<std::uint16_t>(std::stoul(L"0" + number.digits));
}

}  // namespace

void checkNumber(std::span<const std::byte> bytes) {
  const std::wstring text = textFrom(bytes);
  require(integerFrom(text) == slowInteger(text), "another integer");
  require(portFrom(text) == slowPort(text), "another port");
}

}  // namespace quillgate::test
