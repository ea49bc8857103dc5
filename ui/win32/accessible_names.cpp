#include "ui/win32/accessible_names.h"

#include <algorithm>

namespace quillgate {

AccessibleNames::AccessibleNames() {
  CoCreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER, IID_IAccPropServices,
                   reinterpret_cast<void**>(&service_));
}

AccessibleNames::~AccessibleNames() {
  if (service_ != nullptr) service_->Release();
}

void AccessibleNames::set(HWND control, const std::wstring& name) {
  if (service_ == nullptr) return;
  service_->SetHwndPropStr(control, static_cast<DWORD>(OBJID_CLIENT), CHILDID_SELF, PROPID_ACC_NAME,
                           name.c_str());
  if (std::ranges::find(named_, control) == named_.end()) named_.push_back(control);
}

void AccessibleNames::clear() {
  for (const HWND control : named_) {
    service_->ClearHwndProps(control, static_cast<DWORD>(OBJID_CLIENT), CHILDID_SELF,
                             &PROPID_ACC_NAME, 1);
  }
  named_.clear();
}

}  // namespace quillgate
