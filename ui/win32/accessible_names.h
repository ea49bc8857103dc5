// Names for screen readers of controls that have no label of their own. Nothing visible depends on
// them: without the system's service for them there are none. UI thread only; needs COM.
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

  // Gives the control this name, in place of an earlier one.
  void set(HWND control, const std::wstring& name);

  // Takes all names back. Called before the controls are destroyed: the system would keep them.
  void clear();

 private:
  IAccPropServices* service_ = nullptr;
  std::vector<HWND> named_;
};

}  // namespace quillgate
