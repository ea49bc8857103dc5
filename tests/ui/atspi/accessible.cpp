#include "tests/ui/atspi/accessible.h"

#include "platform/posix/text.h"

namespace quillgate::test {
namespace {

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

struct Free {
  void operator()(void* memory) const { g_free(memory); }
};
template <typename T>
using Freed = std::unique_ptr<T, Free>;

std::wstring wide(const gchar* text) {
  return text == nullptr ? std::wstring() : platform::toWide(text);
}

// An interface of an object; null where it has none.
template <typename T>
Owned<T> interfaceOf(AtspiAccessible* object, T* (*get)(AtspiAccessible*)) {
  return Owned<T>(object == nullptr ? nullptr : get(object));
}

Box boxOf(const AtspiRect* rectangle) {
  return rectangle == nullptr
             ? Box{}
             : Box{rectangle->x, rectangle->y, rectangle->width, rectangle->height};
}

}  // namespace

Accessible::Accessible(AtspiAccessible* object) {
  if (object != nullptr) object_ = std::shared_ptr<AtspiAccessible>(object, Unref());
}

std::vector<Accessible> Accessible::windowsOf(pid_t process) {
  static const bool ready = [] {
    atspi_init();
    constexpr gint kMilliseconds = 20'000;
    atspi_set_timeout(kMilliseconds, kMilliseconds);
    return true;
  }();
  static_cast<void>(ready);
  for (const Accessible& program : Accessible(atspi_get_desktop(0)).children()) {
    if (atspi_accessible_get_process_id(program.object(), nullptr) == static_cast<guint>(process)) {
      return program.children();
    }
  }
  return {};
}

std::wstring Accessible::name() const {
  if (!object_) return {};
  return wide(Freed<gchar>(atspi_accessible_get_name(object(), nullptr)).get());
}

AtspiRole Accessible::role() const {
  if (!object_) return ATSPI_ROLE_INVALID;
  GError* error = nullptr;
  const AtspiRole role = atspi_accessible_get_role(object(), &error);
  if (error == nullptr) return role;
  g_error_free(error);
  return ATSPI_ROLE_INVALID;
}

bool Accessible::is(AtspiStateType state) const {
  if (!object_) return false;
  const Owned<AtspiStateSet> states(atspi_accessible_get_state_set(object()));
  return states && !atspi_state_set_contains(states.get(), ATSPI_STATE_DEFUNCT) &&
         atspi_state_set_contains(states.get(), state);
}

std::vector<Accessible> Accessible::children() const {
  if (!object_) return {};
  std::vector<Accessible> found;
  const int count = childCount();
  for (int i = 0; i < count; ++i) {
    Accessible one = child(i);
    if (one.object() != nullptr) found.push_back(std::move(one));
  }
  return found;
}

int Accessible::childCount() const {
  return object_ ? atspi_accessible_get_child_count(object(), nullptr) : 0;
}

Accessible Accessible::child(int index) const {
  return Accessible(object_ ? atspi_accessible_get_child_at_index(object(), index, nullptr)
                            : nullptr);
}

int Accessible::indexInParent() const {
  return object_ ? atspi_accessible_get_index_in_parent(object(), nullptr) : -1;
}

Box Accessible::screenPlace() const {
  const Owned<AtspiComponent> component =
      interfaceOf(object(), atspi_accessible_get_component_iface);
  if (!component) return {};
  return boxOf(Freed<AtspiRect>(
                   atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_SCREEN, nullptr))
                   .get());
}

Accessible Accessible::childAt(Point onScreen) const {
  const Owned<AtspiComponent> component =
      interfaceOf(object(), atspi_accessible_get_component_iface);
  if (!component) return {};
  return Accessible(atspi_component_get_accessible_at_point(component.get(), onScreen.x, onScreen.y,
                                                            ATSPI_COORD_TYPE_SCREEN, nullptr));
}

std::wstring Accessible::text() const {
  const Owned<AtspiText> text = interfaceOf(object(), atspi_accessible_get_text_iface);
  if (!text) return name();
  const int count = atspi_text_get_character_count(text.get(), nullptr);
  return wide(Freed<gchar>(atspi_text_get_text(text.get(), 0, count, nullptr)).get());
}

double Accessible::belowMaximum() const {
  const Owned<AtspiValue> value = interfaceOf(object(), atspi_accessible_get_value_iface);
  if (!value) return 0;
  return atspi_value_get_maximum_value(value.get(), nullptr) -
         atspi_value_get_current_value(value.get(), nullptr);
}

bool Accessible::setText(const std::wstring& text) const {
  const Owned<AtspiEditableText> field =
      interfaceOf(object(), atspi_accessible_get_editable_text_iface);
  return field && atspi_editable_text_set_text_contents(field.get(),
                                                        platform::toBytes(text).c_str(), nullptr);
}

bool Accessible::doFirstAction() const {
  const Owned<AtspiAction> action = interfaceOf(object(), atspi_accessible_get_action_iface);
  return action && atspi_action_do_action(action.get(), 0, nullptr);
}

bool Accessible::grabFocus() const {
  const Owned<AtspiComponent> component =
      interfaceOf(object(), atspi_accessible_get_component_iface);
  return component && atspi_component_grab_focus(component.get(), nullptr);
}

}  // namespace quillgate::test
