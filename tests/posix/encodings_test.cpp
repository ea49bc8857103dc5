// The guard of rule files knows encodings by their names. Here everything that the system can
// convert by a name that the guard accepts is asked whether it keeps ASCII markup.
#include <gtest/gtest.h>
#include <iconv.h>

#include <array>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/xml_guard.h"

namespace quillgate {
namespace {

using std::string_literals::operator""s;

// The characters that markup is made of, besides letters and blanks.
constexpr std::string_view kMarks = "<>!?&'\"-=/:";

std::string marksIn(const std::string& text) {
  std::string marks = text;
  std::erase_if(marks, [](char c) { return kMarks.find(c) == std::string_view::npos; });
  return marks;
}

// From one encoding into UTF-8.
class Converter {
 public:
  explicit Converter(const std::string& encoding)
      : native_(::iconv_open("UTF-8", encoding.c_str())) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (isKnown()) ::iconv_close(native_);
  }

  [[nodiscard]] bool isKnown() const {
    return reinterpret_cast<std::intptr_t>(native_) != -1;  // what iconv_open() gives for an error
  }

  // Nothing for bytes that are no text.
  std::optional<std::string> operator()(std::string bytes) {
    std::array<char, 256> room;
    char* in = bytes.data();
    char* out = room.data();
    std::size_t left = bytes.size();
    std::size_t free = room.size();
    ::iconv(native_, nullptr, nullptr, nullptr, nullptr);  // forgets earlier bytes
    if (::iconv(native_, &in, &left, &out, &free) == static_cast<std::size_t>(-1)) return {};
    ::iconv(native_, nullptr, nullptr, &out, &free);
    return std::string(room.data(), out);
  }

 private:
  iconv_t native_;
};

// Bytes whose conversion has other marks than they have themselves; empty when none were found.
std::string findOtherMarks(Converter& convert) {
  std::vector<std::string> texts{"\x1B$@<!", "\x1B$B<!",   "\x1B(I<!", "\x1B$)C\x0E<!\x0F",
                                 "\x1BN<!",  "\x0E<!\x0F", "~{<!~}",   "+ADw-"};
  for (const char mark : kMarks) texts.push_back({mark});
  for (int byte = 1; byte < 256; ++byte) {
    texts.push_back({static_cast<char>(byte)});
    for (const char mark : kMarks) texts.push_back({static_cast<char>(byte), mark});
  }
  for (const std::string& text : texts) {
    const auto converted = convert(text);
    if (converted ? marksIn(*converted) != marksIn(text) : text == marksIn(text)) return text;
  }
  return {};
}

std::vector<std::string> encodingsOfTheSystem() {
  std::vector<std::string> names;
  FILE* list = ::popen("iconv -l", "r");
  if (list == nullptr) return names;
  std::array<char, 256> line;
  while (std::fgets(line.data(), line.size(), list) != nullptr) {
    const std::string_view name(line.data());
    names.emplace_back(name.substr(0, name.find('/')));
  }
  ::pclose(list);
  return names;
}

TEST(EncodingsOfTheSystem, KeepAsciiMarkupWhereTheGuardAcceptsThem) {
  int accepted = 0;
  for (const std::string& name : encodingsOfTheSystem()) {
    const std::string document = "<?xml version='1.0' encoding='" + name + "'?><config/>";
    if (!isAcceptableXml(std::as_bytes(std::span(document)))) continue;
    Converter convert(name);
    ASSERT_TRUE(convert.isKnown()) << name;
    EXPECT_EQ(findOtherMarks(convert), "") << name;
    ++accepted;
  }
  EXPECT_GE(accepted, 459);
}

TEST(EncodingsOfTheSystem, AreFoundOutWhenTheyHideMarkup) {
  for (const char* name : {"UTF-7", "UTF-16", "UCS-4", "IBM037", "CP1047", "ISO-2022-JP",
                           "ISO-2022-KR", "ISO-2022-CN-EXT", "JOHAB", "ARMSCII-8", "ISIRI-3342"}) {
    Converter convert(name);
    ASSERT_TRUE(convert.isKnown()) << name;
    EXPECT_NE(findOtherMarks(convert), "") << name;
  }
}

}  // namespace
}  // namespace quillgate
