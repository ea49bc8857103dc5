#include "tests/installer/installer_test.h"

#include <gtest/gtest.h>
#include <objbase.h>
#include <shlobj.h>

#include <array>
#include <cstring>

#include "tests/installer/setup.h"
#include "tests/support/deadline.h"
#include "tests/support/wine.h"

namespace quillgate::test {
namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kEntryKey =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Quillgate";

using Value = std::array<wchar_t, 1024>;

// A value of the registry as text.
std::wstring valueText(DWORD type, const Value& value) {
  if (type == REG_SZ) return value.data();
  DWORD number = 0;
  std::memcpy(&number, value.data(), sizeof(number));
  return type == REG_DWORD ? std::to_wstring(number) : L"of type " + std::to_wstring(type);
}

std::map<std::wstring, std::wstring> uninstallEntry() {
  std::map<std::wstring, std::wstring> found;
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, kEntryKey, 0, KEY_READ, &key) != ERROR_SUCCESS) return found;
  for (DWORD index = 0;; ++index) {
    std::array<wchar_t, 256> name{};
    Value value{};
    DWORD nameSize = name.size(), valueSize = sizeof(value), type = 0;
    if (RegEnumValueW(key, index, name.data(), &nameSize, nullptr, &type,
                      reinterpret_cast<BYTE*>(value.data()), &valueSize) != ERROR_SUCCESS) {
      break;
    }
    found[name.data()] = valueText(type, value);
  }
  RegCloseKey(key);
  return found;
}

// What a shortcut starts, and in which folder.
std::pair<std::wstring, std::wstring> targetOf(const std::wstring& shortcut) {
  std::array<wchar_t, MAX_PATH> target{}, folder{};
  IShellLinkW* link = nullptr;
  IPersistFile* file = nullptr;
  if (CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                       reinterpret_cast<void**>(&link)) == S_OK) {
    if (link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file)) == S_OK) {
      file->Load(shortcut.c_str(), STGM_READ);
      file->Release();
    }
    link->GetPath(target.data(), MAX_PATH, nullptr, 0);
    link->GetWorkingDirectory(folder.data(), MAX_PATH);
    link->Release();
  }
  return {target.data(), folder.data()};
}

// Lets this process, and those that it starts, have their temporary files there.
void keepTemporaryFilesIn(const std::wstring& folder) {
  SetEnvironmentVariableW(L"TMP", folder.c_str());
}

std::vector<std::wstring> namesOf(const Files& files) {
  std::vector<std::wstring> names;
  for (const auto& [name, content] : files) names.push_back(name);
  return names;
}

bool isRemoved(const std::wstring& folder) {
  std::error_code error;
  fs::remove_all(pathOf(folder), error);
  return !error;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const State& state) {
  return out << testing::PrintToString(state.times) << testing::PrintToString(state.entry);
}

void InstallerTest::SetUp() {
  // There, a test that was ended by force has left it.
  if (runsUnderWine()) RegDeleteTreeW(HKEY_CURRENT_USER, kEntryKey);
  ASSERT_TRUE(uninstallEntry().empty()) << "this user has Quillgate; the test would remove it";
  for (const std::wstring& folder : {local, menu, temporary}) fs::create_directory(pathOf(folder));
  formerTemporary_ = wideTextOf(fs::temp_directory_path());
  keepTemporaryFilesIn(temporary);
  isSetUp_ = true;
}

void InstallerTest::TearDown() {
  if (!isSetUp_) return;
  program.reset();
  keepTemporaryFilesIn(formerTemporary_);
  RegDeleteTreeW(HKEY_CURRENT_USER, kEntryKey);
  // The last process of an uninstaller runs from there and ends by itself.
  EXPECT_TRUE(eventually([this] { return isRemoved(temporary); }));
}

State InstallerTest::state() const {
  State found{.files = {}, .times = {}, .entry = uninstallEntry()};
  for (const std::wstring& folder : {local, menu}) {
    for (const auto& file : fs::recursive_directory_iterator(pathOf(folder))) {
      const std::wstring path = wideTextOf(file.path());
      found.files[path] = contentOf(path).value_or("");
      found.times[path] = file.last_write_time();
    }
  }
  return found;
}

Files InstallerTest::writeData() const {
  RuleSet rules;
  rules[3] = {true, Protocol::udp, 0, L"10.0.0.4", 53};
  data.writeConfig(configBytes(rules));
  writeFile(data.configPath + L".bad", "<config><rules>");
  writeFile(data.configPath + L".quillgate-new", "<config>");
  writeFile(data.logPath, "a line");
  return state().files;
}

void InstallerTest::expectInstalled(const std::wstring& release, const Files& others) const {
  const std::wstring version = versionOf(release);
  const std::wstring shortcut = menu + L"\\Quillgate PRO.lnk";
  const std::wstring programFile = home + L"\\quillgate.exe";
  const std::wstring uninstaller = home + L"\\uninstall.exe";

  State found = state();
  Files expected = others;
  expected[local + L"\\Programs"];
  expected[home];
  expected[programFile] = contentOf(programFolder() + L"\\quillgate.exe").value();
  for (const std::string name : {"README", "LICENSE", "NOTICES"}) {
    expected[home + L"\\" + std::wstring(name.begin(), name.end()) + L".txt"] =
        name + " of " + std::string(version.begin(), version.end()) + "\r\n";
  }
  // Made by the installer; what they do is seen elsewhere.
  expected[uninstaller] = found.files[uninstaller];
  expected[shortcut] = found.files[shortcut];
  EXPECT_EQ(namesOf(found.files), namesOf(expected));
  for (const auto& [name, content] : expected) {
    EXPECT_TRUE(found.files[name] == content) << pathOf(name);
  }
  EXPECT_FALSE(found.files[uninstaller].empty());

  EXPECT_EQ(targetOf(shortcut), (std::pair{programFile, home}));

  const std::size_t dot = version.find(L'.');
  const double kibibytes = static_cast<double>(expected[programFile].size()) / 1024;
  EXPECT_NEAR(std::stoi(found.entry[L"EstimatedSize"]), kibibytes, 5);
  found.entry.erase(L"EstimatedSize");
  EXPECT_EQ(found.entry,
            (std::map<std::wstring, std::wstring>{
                {L"DisplayName", titleOf(release)},
                {L"DisplayVersion", version},
                {L"Publisher", L"Quillgate authors"},
                {L"DisplayIcon", programFile},
                {L"InstallLocation", home},
                {L"UninstallString", L"\"" + uninstaller + L"\""},
                {L"QuietUninstallString", L"\"" + uninstaller + L"\" /S _?=" + home},
                {L"VersionMajor", version.substr(0, dot)},
                {L"VersionMinor", version.substr(dot + 1, version.rfind(L'.') - dot - 1)},
                {L"NoModify", L"1"},
                {L"NoRepair", L"1"}}));
}

void InstallerTest::expectNothing(const Files& others) const {
  const State found = state();
  Files expected = others;
  expected[local + L"\\Programs"];  // the system's
  EXPECT_EQ(namesOf(found.files), namesOf(expected));
  EXPECT_TRUE(found.files == expected);
  EXPECT_TRUE(found.entry.empty());
}

bool InstallerTest::isGone() const {
  return eventually([this] { return !fs::exists(pathOf(home)); });
}

void InstallerTest::startInstalled() {
  program = std::make_unique<Program>(Launch{.dataFolder = local, .programFolder = home});
  ASSERT_TRUE(data.waitForLog(L"Server started."));
}

}  // namespace quillgate::test
