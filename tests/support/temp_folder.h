// A private folder for one test, and files as text.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillgate::test {

// A new, empty folder that is deleted with everything in it.
class TempFolder {
 public:
  TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder();

  // Absolute, without a separator at its end.
  [[nodiscard]] const std::wstring& path() const { return path_; }
  // The path of `name` in the folder.
  [[nodiscard]] std::wstring file(const std::wstring& name) const;
  // The names of what is in the folder, sorted.
  [[nodiscard]] std::vector<std::wstring> names() const;

 private:
  std::wstring path_;
};

// Where the system keeps temporary files: the full name of the folder, without links and short
// names.
[[nodiscard]] std::filesystem::path temporaryFolder();

// The same path for the standard library, whatever the locale, and back.
[[nodiscard]] std::filesystem::path pathOf(const std::wstring& path);
[[nodiscard]] std::wstring wideTextOf(const std::filesystem::path& path);

// The bytes of a file; nothing when there is none. Not by way of the platform's file functions.
[[nodiscard]] std::optional<std::string> contentOf(const std::wstring& path);

// Makes `content` the bytes of a file.
void writeFile(const std::wstring& path, std::string_view content);

}  // namespace quillgate::test
