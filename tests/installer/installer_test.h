// What the tests of the installer have in common: a user with folders of their own, and what an
// installation leaves there.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <ostream>
#include <string>

#include "tests/support/temp_folder.h"
#include "tests/ui/program.h"
#include "tests/ui/win32/program.h"

namespace quillgate::test {

// Contents of files by their paths; folders have none.
using Files = std::map<std::wstring, std::string>;

// All that an installer could change for a user, but for temporary files.
struct State {
  Files files;
  std::map<std::wstring, std::filesystem::file_time_type> times;
  std::map<std::wstring, std::wstring> entry;  // to uninstall; numbers are decimal

  bool operator==(const State&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const State& state);
};

class InstallerTest : public testing::Test {
 protected:
  [[nodiscard]] State state() const;

  // Writes rules and log, as a program of the past has left them; returns all files.
  [[nodiscard]] Files writeData() const;

  // Expects an installation of this release, and of other files only these; or no installation.
  void expectInstalled(const std::wstring& release, const Files& others = {}) const;
  void expectNothing(const Files& others = {}) const;
  // Waits until the uninstaller has removed itself.
  [[nodiscard]] bool isGone() const;

  // Starts the installed program, and waits until it has written its files.
  void startInstalled();

  // What Windows runs to uninstall the program, with questions or without.
  [[nodiscard]] std::wstring uninstall() const { return state().entry.at(L"UninstallString"); }
  [[nodiscard]] std::wstring quietUninstall() const {
    return state().entry.at(L"QuietUninstallString");
  }

  void SetUp() override;
  void TearDown() override;

  TempFolder user;
  std::wstring local = user.file(L"J\u00f6rg's data");
  std::wstring menu = user.file(L"Menu");
  std::wstring temporary = user.file(L"Temp");
  std::wstring home = local + L"\\Programs\\Quillgate";
  ProgramFiles data{local};
  std::unique_ptr<Program> program;

 private:
  static constexpr const wchar_t* kFolders =
      L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";
  RegistrySetting localFolder_{HKEY_CURRENT_USER, kFolders, L"Local AppData", local};
  RegistrySetting menuFolder_{HKEY_CURRENT_USER, kFolders, L"Programs", menu};
  std::wstring formerTemporary_;
  bool isSetUp_ = false;
};

}  // namespace quillgate::test
