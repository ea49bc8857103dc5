#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "tests/support/deadline.h"
#include "tests/ui/atspi/accessible.h"
#include "tests/ui/atspi/file_portal.h"
#include "tests/ui/atspi/native.h"
#include "tests/ui/atspi/x11.h"
#include "tests/ui/driver.h"

namespace quillgate::test {
namespace {

// The object with this name inside another one, but for entries of lists.
Accessible findInside(const Accessible& parent, const std::wstring& name) {
  for (const Accessible& child : parent.children()) {
    if (child.name() == name) return child;
    const AtspiRole role = child.role();
    if (role == ATSPI_ROLE_LIST || role == ATSPI_ROLE_COMBO_BOX || role == ATSPI_ROLE_TEXT) {
      continue;
    }
    Accessible found = findInside(child, name);
    if (found != Accessible()) return found;
  }
  return {};
}

Accessible verticalScrollBar(const Accessible& parent) {
  for (const Accessible& child : parent.children()) {
    const Box place = child.screenPlace();
    if (child.role() == ATSPI_ROLE_SCROLL_BAR && place.height > place.width) return child;
    Accessible found = verticalScrollBar(child);
    if (found != Accessible()) return found;
  }
  return {};
}

Control controlOf(const Accessible& object, x11::WindowId window) {
  if (object == Accessible()) return {};
  return Control(std::make_shared<NativeControl>(NativeControl{object, window}));
}

bool isInside(const Box& inner, const Box& outer) {
  return inner.y >= outer.y && inner.y + inner.height <= outer.y + outer.height;
}

// Connected before the first test: each looks for what it has left open or running, and some of
// that stays after the first use.
class Desktop : public testing::Environment {
 public:
  void SetUp() override {
    ASSERT_TRUE(eventually([] { return x11::hasWindowManager(); }));
    static_cast<void>(Accessible::windowsOf(getpid()));
    const FilePortal portal;
  }
};

[[maybe_unused]] const auto* const kDesktop = testing::AddGlobalTestEnvironment(new Desktop);

Point middleOf(const Box& box) { return {box.x + box.width / 2, box.y + box.height / 2}; }

// What the mouse calls the directions of its wheel.
constexpr unsigned kWheelUp = 4;
constexpr unsigned kWheelDown = 5;

void turnWheel(const Control& list, unsigned direction, const std::function<bool()>& isThere) {
  x11::moveMouse(middleOf(list.screenPlace()));
  EXPECT_TRUE(eventually([&] {
    if (isThere()) return true;
    x11::clickMouse(direction);
    return false;
  }));
}

}  // namespace

x11::WindowId idOf(const Control& window) {
  return window.native() == nullptr ? 0 : window.native()->window;
}

const Accessible& accessibleOf(const Control& control) {
  static const Accessible kNone;
  return control.native() == nullptr ? kNone : control.native()->object;
}

std::vector<Window> windowsOf(pid_t process, const std::function<bool(x11::WindowId)>& isIt) {
  std::vector<x11::WindowId> ids = x11::windowsOf(process);
  std::erase_if(ids, std::not_fn(isIt));
  if (ids.empty()) return {};
  const std::vector<Accessible> objects = Accessible::windowsOf(process);
  std::vector<Window> found;
  for (const x11::WindowId id : ids) {
    std::vector<Accessible> named;
    const std::wstring title = x11::titleOf(id);
    std::ranges::copy_if(objects, std::back_inserter(named),
                         [&](const Accessible& object) { return object.name() == title; });
    // Windows with one title stand in different places.
    if (named.size() > 1) {
      const Box place = x11::clientPlace(id);
      std::erase_if(named, [&](const Accessible& object) { return object.screenPlace() != place; });
    }
    if (!named.empty()) {
      found.emplace_back(std::make_shared<NativeControl>(NativeControl{named.front(), id}));
    }
  }
  return found;
}

bool Control::operator==(const Control& other) const {
  return accessibleOf(*this) == accessibleOf(other);
}

bool Control::isThere() const { return accessibleOf(*this).role() != ATSPI_ROLE_INVALID; }

bool Control::isShown() const {
  return x11::isShown(idOf(*this)) && accessibleOf(*this).is(ATSPI_STATE_SHOWING);
}

bool Control::isEnabled() const { return accessibleOf(*this).is(ATSPI_STATE_ENABLED); }

bool Control::isChecked() const { return accessibleOf(*this).is(ATSPI_STATE_CHECKED); }

bool Control::hasFocus() const {
  return x11::activeWindow() == idOf(*this) && accessibleOf(*this).is(ATSPI_STATE_FOCUSED);
}

std::wstring Control::text() const { return accessibleOf(*this).text(); }

std::vector<std::wstring> Control::entries() const {
  const Accessible& object = accessibleOf(*this);
  std::vector<Accessible> items = object.children();
  if (object.role() == ATSPI_ROLE_COMBO_BOX) items = items.at(0).children();
  std::vector<std::wstring> texts(items.size());
  std::ranges::transform(items, texts.begin(), &Accessible::name);
  return texts;
}

std::size_t Control::lineCount() const {
  return static_cast<std::size_t>(accessibleOf(*this).childCount());
}

std::wstring Control::lastLine() const {
  const Accessible& list = accessibleOf(*this);
  return list.child(list.childCount() - 1).name();
}

Box Control::place() const {
  const Box window = x11::clientPlace(idOf(*this));
  Box place = screenPlace();
  place.x -= window.x;
  place.y -= window.y;
  return place;
}

Box Control::screenPlace() const { return accessibleOf(*this).screenPlace(); }

void Control::press() const {
  const Accessible& button = accessibleOf(*this);
  EXPECT_TRUE(button.doFirstAction() || !isThere());
  // It looks pressed until then.
  EXPECT_TRUE(eventually([&] { return !button.is(ATSPI_STATE_PRESSED); }));
}

void Control::setText(const std::wstring& text) const {
  EXPECT_TRUE(accessibleOf(*this).setText(text) || !isThere());
}

void Control::choose(int entry) const {
  const Accessible& list = accessibleOf(*this);
  const std::vector<std::wstring> offered = entries();
  EXPECT_TRUE(list.doFirstAction());
  EXPECT_TRUE(eventually([&] { return list.is(ATSPI_STATE_EXPANDED); }));
  std::vector<Key> keys = {Key::home};
  keys.insert(keys.end(), static_cast<std::size_t>(entry), Key::down);
  keys.push_back(Key::enter);
  typeKeys(keys);
  EXPECT_TRUE(eventually([&] {
    return !list.is(ATSPI_STATE_EXPANDED) &&
           list.text() == offered.at(static_cast<std::size_t>(entry));
  }));
}

int Control::firstLineInSight() const {
  const Box list = screenPlace();
  constexpr int kInside = 5;  // pixels from the edge
  return accessibleOf(*this).childAt({list.x + kInside, list.y + kInside}).indexInParent();
}

int Control::linesInSight() const {
  const Accessible& list = accessibleOf(*this);
  const Box place = list.screenPlace();
  const int first = firstLineInSight();
  const int count = list.childCount();
  int line = first;
  while (line < count && isInside(list.child(line).screenPlace(), place)) ++line;
  return line - first;
}

void Control::scrollToTop() const {
  turnWheel(*this, kWheelUp, [this] { return firstLineInSight() == 0; });
}

void Control::scrollToEnd() const {
  turnWheel(*this, kWheelDown, [this] {
    return firstLineInSight() + linesInSight() == static_cast<int>(lineCount());
  });
}

bool Control::showsItsEnd() const {
  const Accessible bar = verticalScrollBar(accessibleOf(*this));
  // It counts lines. There may be room for one more below the last one.
  return bar != Accessible() && bar.belowMaximum() <= 1;
}

Control Window::control(const std::wstring& name) const {
  return controlOf(findInside(accessibleOf(*this), name), idOf(*this));
}

Box Window::clientSize() const {
  const Box place = x11::clientPlace(idOf(*this));
  return {0, 0, place.width, place.height};
}

void Window::setClientSize(int width, int height) const {
  x11::resize(idOf(*this), width, height);
  // Its controls are in their places when it knows its size itself.
  EXPECT_TRUE(eventually([&] {
    const Box place = screenPlace();
    return clientSize() == (Box{0, 0, width, height}) && place.width == width &&
           place.height == height;
  }));
}

void Window::moveTo(Point corner) const { x11::move(idOf(*this), corner); }

bool Window::isActive() const { return x11::activeWindow() == idOf(*this); }

void Window::activate() const { x11::activate(idOf(*this)); }

Window::State Window::state() const { return x11::stateOf(idOf(*this)); }

void Window::minimize() const { x11::minimize(idOf(*this)); }

void Window::maximize() const { x11::maximize(idOf(*this)); }

void Window::restore() const { x11::restore(idOf(*this)); }

Window Window::owner() const {
  const x11::WindowId owner = x11::ownerOf(idOf(*this));
  const std::vector<Window> found = windowsOf(
      x11::processOf(idOf(*this)), [owner](x11::WindowId window) { return window == owner; });
  return found.empty() ? Window() : found.front();
}

void Window::close() const { x11::close(idOf(*this)); }

bool isShownScaled(const Window&) { return false; }

Color screenPixel(const Control& control, Point point) {
  const Box place = control.screenPlace();
  return x11::pixel({place.x + point.x, place.y + point.y});
}

void clickWithMouse(const Control& control) {
  constexpr unsigned kLeft = 1;
  x11::moveMouse(middleOf(control.screenPlace()));
  x11::clickMouse(kLeft);
}

void typeKeys(const std::vector<Key>& keys) { x11::typeKeys(keys); }

void typeChord(const std::vector<Key>& keys) { x11::typeChord(keys); }

Clipboard::Clipboard() : former_(x11::takeClipboard()) {}

bool Clipboard::hasNews() const { return x11::clipboardOwner() != former_; }

std::optional<std::wstring> Clipboard::text() const { return x11::clipboardText(); }

}  // namespace quillgate::test
