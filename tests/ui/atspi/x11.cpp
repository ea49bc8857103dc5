#include "tests/ui/atspi/x11.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

#include "platform/posix/text.h"
#include "tests/support/deadline.h"

namespace quillgate::test::x11 {
namespace {

// A window may go at any moment, so a request that fails is no error.
Display* display() {
  static Display* const display = [] {
    Display* const opened = XOpenDisplay(nullptr);
    if (opened == nullptr) throw std::runtime_error("there is no display");
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    return opened;
  }();
  return display;
}

::Window root() { return DefaultRootWindow(display()); }

Atom atom(const char* name) { return XInternAtom(display(), name, False); }

struct Freed {
  void operator()(void* memory) const { XFree(memory); }
};

struct Destroyed {
  void operator()(XImage* image) const { XDestroyImage(image); }
};
using Picture = std::unique_ptr<XImage, Destroyed>;

// What the screen shows there; null where that is not on the screen.
Picture pictureOf(const Box& area) {
  return Picture(XGetImage(display(), root(), area.x, area.y, static_cast<unsigned>(area.width),
                           static_cast<unsigned>(area.height), AllPlanes, ZPixmap));
}

Color colorOf(unsigned long pixel) {
  return {static_cast<int>(pixel >> 16 & 0xFF), static_cast<int>(pixel >> 8 & 0xFF),
          static_cast<int>(pixel & 0xFF)};
}

int lightness(unsigned long pixel) {
  const Color color = colorOf(pixel);
  return color.red + color.green + color.blue;
}

// Tells the window manager what to do with a window.
void ask(WindowId window, const char* request, std::array<long, 3> data) {
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = atom(request);
  event.xclient.format = 32;
  std::ranges::copy(data, event.xclient.data.l);
  XSendEvent(display(), root(), False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
  XSync(display(), False);
}

void setMaximized(WindowId window, bool maximized) {
  ask(window, "_NET_WM_STATE",
      {maximized ? 1 : 0, static_cast<long>(atom("_NET_WM_STATE_MAXIMIZED_VERT")),
       static_cast<long>(atom("_NET_WM_STATE_MAXIMIZED_HORZ"))});
}

KeySym symbolOf(Key key) {
  static const std::pair<Key, KeySym> kKeys[] = {
      {Key::tab, XK_Tab},     {Key::enter, XK_Return},      {Key::escape, XK_Escape},
      {Key::space, XK_space}, {Key::left, XK_Left},         {Key::right, XK_Right},
      {Key::up, XK_Up},       {Key::down, XK_Down},         {Key::home, XK_Home},
      {Key::end, XK_End},     {Key::insert, XK_Insert},     {Key::shift, XK_Shift_L},
      {Key::alt, XK_Alt_L},   {Key::control, XK_Control_L},
  };
  for (const auto& [known, symbol] : kKeys) {
    if (key == known) return symbol;
  }
  return static_cast<KeySym>(key);  // that of a character is the character
}

void sendKey(Key key, bool pressed) {
  XTestFakeKeyEvent(display(), XKeysymToKeycode(display(), symbolOf(key)), pressed, CurrentTime);
}

std::vector<WindowId> childrenOf(WindowId window) {
  ::Window parent = 0;
  ::Window* children = nullptr;
  unsigned count = 0;
  ::Window top = 0;
  if (XQueryTree(display(), window, &top, &parent, &children, &count) == 0) return {};
  const std::unique_ptr<::Window, Freed> owner(children);
  return {children, children + count};
}

// A window that is never shown, for what programs send each other.
::Window ownWindow() {
  static const ::Window window = XCreateSimpleWindow(display(), root(), 0, 0, 1, 1, 0, 0, 0);
  return window;
}

// The bytes in a property of our window, which go from there, and their type; none where there is
// no such property.
struct Bytes {
  std::string bytes;
  Atom type;
};
Bytes takeBytes(Atom property) {
  constexpr long kMost = 1 << 24;
  Atom type = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long left = 0;
  unsigned char* data = nullptr;
  XGetWindowProperty(display(), ownWindow(), property, 0, kMost, True, AnyPropertyType, &type,
                     &format, &count, &left, &data);
  const std::unique_ptr<unsigned char, Freed> owner(data);
  return {format == 8 ? std::string(reinterpret_cast<const char*>(data), count) : "", type};
}

}  // namespace

std::vector<unsigned long> property(WindowId window, const char* name) {
  constexpr long kMost = 4096;
  Atom type = 0;
  int format = 0;
  unsigned long count = 0;
  unsigned long left = 0;
  unsigned char* data = nullptr;
  if (XGetWindowProperty(display(), window, atom(name), 0, kMost, False, AnyPropertyType, &type,
                         &format, &count, &left, &data) != Success) {
    return {};
  }
  const std::unique_ptr<unsigned char, Freed> owner(data);
  if (format != 32) return {};
  const auto* numbers = reinterpret_cast<const unsigned long*>(data);
  return {numbers, numbers + count};
}

std::vector<std::string> names(WindowId window, const char* property) {
  std::vector<std::string> found;
  for (const unsigned long number : x11::property(window, property)) {
    const std::unique_ptr<char, Freed> name(XGetAtomName(display(), number));
    if (name) found.emplace_back(name.get());
  }
  return found;
}

bool hasWindowManager() { return !property(root(), "_NET_SUPPORTING_WM_CHECK").empty(); }

std::vector<WindowId> windowsOf(pid_t process) {
  std::vector<WindowId> found = property(root(), "_NET_CLIENT_LIST");
  if (!hasWindowManager()) {
    found = childrenOf(root());
    std::erase_if(found, [](WindowId window) { return !isShown(window); });
  }
  std::erase_if(found, [&](WindowId window) { return processOf(window) != process; });
  return found;
}

pid_t processOf(WindowId window) {
  const std::vector<unsigned long> process = property(window, "_NET_WM_PID");
  return process.empty() ? 0 : static_cast<pid_t>(process.front());
}

std::wstring titleOf(WindowId window) {
  XTextProperty title{};
  if (XGetTextProperty(display(), window, &title, atom("_NET_WM_NAME")) == 0) return {};
  const std::unique_ptr<unsigned char, Freed> owner(title.value);
  return platform::toWide({reinterpret_cast<const char*>(title.value), title.nitems});
}

std::string classOf(WindowId window) {
  XClassHint hint{};
  if (XGetClassHint(display(), window, &hint) == 0) return {};
  const std::unique_ptr<char, Freed> instance(hint.res_name);
  const std::unique_ptr<char, Freed> name(hint.res_class);
  return name ? name.get() : "";
}

bool isThere(WindowId window) {
  XWindowAttributes attributes{};
  return window != 0 && XGetWindowAttributes(display(), window, &attributes) != 0;
}

bool isShown(WindowId window) {
  XWindowAttributes attributes{};
  return window != 0 && XGetWindowAttributes(display(), window, &attributes) != 0 &&
         attributes.map_state == IsViewable;
}

WindowId ownerOf(WindowId window) {
  ::Window owner = 0;
  return XGetTransientForHint(display(), window, &owner) == 0 ? 0 : owner;
}

Box clientPlace(WindowId window) {
  XWindowAttributes attributes{};
  if (XGetWindowAttributes(display(), window, &attributes) == 0) return {};
  int x = 0;
  int y = 0;
  ::Window child = 0;
  XTranslateCoordinates(display(), window, root(), 0, 0, &x, &y, &child);
  return {x, y, attributes.width, attributes.height};
}

void resize(WindowId window, int width, int height) {
  XResizeWindow(display(), window, static_cast<unsigned>(width), static_cast<unsigned>(height));
  XSync(display(), False);
}

void move(WindowId window, Point corner) {
  XMoveWindow(display(), window, corner.x, corner.y);
  XSync(display(), False);
}

WindowId activeWindow() {
  const std::vector<unsigned long> active = property(root(), "_NET_ACTIVE_WINDOW");
  return active.empty() ? 0 : active.front();
}

void activate(WindowId window) {
  constexpr long kPager = 2;  // asks in the user's name
  ask(window, "_NET_ACTIVE_WINDOW", {kPager, CurrentTime, 0});
}

Window::State stateOf(WindowId window) {
  const std::vector<std::string> states = names(window, "_NET_WM_STATE");
  const auto has = [&](const char* state) { return std::ranges::count(states, state) != 0; };
  if (has("_NET_WM_STATE_HIDDEN")) return Window::State::minimized;
  return has("_NET_WM_STATE_MAXIMIZED_VERT") ? Window::State::maximized : Window::State::normal;
}

void minimize(WindowId window) {
  XIconifyWindow(display(), window, DefaultScreen(display()));
  XSync(display(), False);
}

void maximize(WindowId window) { setMaximized(window, true); }

void restore(WindowId window) {
  if (stateOf(window) == Window::State::minimized) {
    activate(window);
  } else {
    setMaximized(window, false);
  }
}

void close(WindowId window) {
  constexpr long kPager = 2;
  ask(window, "_NET_CLOSE_WINDOW", {CurrentTime, kPager, 0});
}

Color pixel(Point onScreen) {
  const Picture picture = pictureOf({onScreen.x, onScreen.y, 1, 1});
  if (!picture) return {-1, -1, -1};
  return colorOf(XGetPixel(picture.get(), 0, 0));
}

Box ink(const Box& area) {
  const Picture picture = pictureOf(area);
  if (!picture) return {};
  constexpr int kClearly = 250;  // of red, green and blue together
  const int paper = lightness(XGetPixel(picture.get(), 0, 0));
  int left = area.width, top = area.height, right = -1, bottom = -1;
  for (int y = 0; y < area.height; ++y) {
    for (int x = 0; x < area.width; ++x) {
      if (std::abs(lightness(XGetPixel(picture.get(), x, y)) - paper) < kClearly) continue;
      left = std::min(left, x);
      top = std::min(top, y);
      right = std::max(right, x);
      bottom = std::max(bottom, y);
    }
  }
  if (right < 0) return {};
  return {area.x + left, area.y + top, right - left + 1, bottom - top + 1};
}

void moveMouse(Point onScreen) {
  XTestFakeMotionEvent(display(), DefaultScreen(display()), onScreen.x, onScreen.y, CurrentTime);
  XSync(display(), False);
}

void clickMouse(unsigned button) {
  XTestFakeButtonEvent(display(), button, True, CurrentTime);
  XTestFakeButtonEvent(display(), button, False, CurrentTime);
  XSync(display(), False);
}

void typeKeys(const std::vector<Key>& keys) {
  for (const Key key : keys) {
    sendKey(key, true);
    sendKey(key, false);
  }
  XSync(display(), False);
}

void typeChord(const std::vector<Key>& keys) {
  for (const Key key : keys) sendKey(key, true);
  std::for_each(keys.rbegin(), keys.rend(), [](Key key) { sendKey(key, false); });
  XSync(display(), False);
}

WindowId takeClipboard() {
  XSetSelectionOwner(display(), atom("CLIPBOARD"), ownWindow(), CurrentTime);
  XSync(display(), False);
  return ownWindow();
}

WindowId clipboardOwner() { return XGetSelectionOwner(display(), atom("CLIPBOARD")); }

std::optional<std::wstring> clipboardText() {
  const Atom answer = atom("QUILLGATE_CLIPBOARD");
  XConvertSelection(display(), atom("CLIPBOARD"), atom("UTF8_STRING"), answer, ownWindow(),
                    CurrentTime);
  XEvent event{};
  const bool answered = eventually(
      [&] { return XCheckTypedWindowEvent(display(), ownWindow(), SelectionNotify, &event) != 0; });
  if (!answered || event.xselection.property == None) return std::nullopt;
  Bytes taken = takeBytes(answer);
  if (taken.type != atom("INCR")) return platform::toWide(taken.bytes);
  // A long text comes in pieces, the next one when the last has been taken, and an empty one at
  // its end.
  std::string text;
  const bool ended = eventually([&] {
    taken = takeBytes(answer);
    text += taken.bytes;
    return taken.type != None && taken.bytes.empty();
  });
  return ended ? std::optional(platform::toWide(text)) : std::nullopt;
}

}  // namespace quillgate::test::x11
