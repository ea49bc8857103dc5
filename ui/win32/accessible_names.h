// Names by which screen readers call controls that have no label of their own. Nothing visible
// depends on them, so a system without the service for them does without. UI thread only; needs
// COM.
#pragma once

#include <windows.h>
// After windows.h.
#include <oleacc.h>

#include <string>
#include <vector>

namespace quillgate {

class AccessibleNames {
 public:
  AccessibleNames();
  ~AccessibleNames();
  AccessibleNames(const AccessibleNames&) = delete;
  AccessibleNames& operator=(const AccessibleNames&) = delete;

  void set(HWND control, const std::wstring& name);

  // Takes all names back; due before the controls are destroyed, for the system keeps them else.
  void clear();

 private:
  IAccPropServices* service_ = nullptr;
  std::vector<HWND> named_;
};

}  // namespace quillgate
