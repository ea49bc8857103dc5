#include <algorithm>
#include <functional>

#include "tests/support/deadline.h"
#include "tests/ui/atspi/native.h"
#include "tests/ui/dialogs.h"

namespace quillgate::test {
namespace {

// Whether an object has entries, for example the files in a folder.
bool isList(AtspiRole role) {
  return role == ATSPI_ROLE_COMBO_BOX || role == ATSPI_ROLE_LIST || role == ATSPI_ROLE_TREE ||
         role == ATSPI_ROLE_TREE_TABLE || role == ATSPI_ROLE_TABLE;
}

// Every object inside another one that is like this, but for entries of lists.
void collect(const Accessible& parent, const std::function<bool(const Accessible&)>& isIt,
             std::vector<Accessible>& found) {
  for (const Accessible& child : parent.children()) {
    if (isIt(child)) found.push_back(child);
    if (!isList(child.role())) collect(child, isIt, found);
  }
}
std::vector<Accessible> inside(const Window& dialog,
                               const std::function<bool(const Accessible&)>& isIt) {
  std::vector<Accessible> found;
  collect(accessibleOf(dialog), isIt, found);
  return found;
}
std::vector<Accessible> inside(const Window& dialog, AtspiRole role) {
  return inside(dialog, [role](const Accessible& object) {
    return object.role() == role && object.is(ATSPI_STATE_SHOWING);
  });
}

Control controlIn(const Window& dialog, const std::vector<Accessible>& found) {
  if (found.empty()) return {};
  return Control(std::make_shared<NativeControl>(NativeControl{found.front(), idOf(dialog)}));
}

// Whether there is red on the screen there.
bool showsRed(const Box& place) {
  for (int y = 0; y < place.height; y += 2) {
    for (int x = 0; x < place.width; x += 2) {
      const Color color = x11::pixel({place.x + x, place.y + y});
      if (color.red > 150 && color.green < 90 && color.blue < 90) return true;
    }
  }
  return false;
}

std::vector<std::wstring> captionsOf(Answer answer) {
  switch (answer) {
    case Answer::cancel:
      return {L"Cancel"};
    case Answer::yes:
      return {L"Yes"};
    case Answer::no:
      return {L"No"};
    default:
      return {L"OK", L"Save", L"Open"};
  }
}

}  // namespace

Window waitForDialog(const Window& owner, const std::wstring& title) {
  const auto isIt = [&](x11::WindowId window) {
    return x11::ownerOf(window) == idOf(owner) && x11::isShown(window) &&
           (title.empty() || x11::titleOf(window) == title);
  };
  std::vector<Window> found;
  static_cast<void>(eventually([&] {
    found = windowsOf(x11::processOf(idOf(owner)), isIt);
    return !found.empty();
  }));
  return found.empty() ? Window() : found.back();
}

Window openDialog(const Window& window, const std::wstring& button, const std::wstring& title) {
  window.control(button).press();
  return waitForDialog(window, title);
}

bool isUsableAgain(const Window& window) {
  return eventually([&] {
    const std::vector<Accessible> contents = accessibleOf(window).children();
    return !contents.empty() && contents.front().is(ATSPI_STATE_ENABLED);
  });
}

bool waitUntilClosed(const Window& dialog) {
  return eventually([&] { return !dialog.isThere(); });
}

Control buttonOf(const Window& dialog, Answer answer) {
  const std::vector<std::wstring> captions = captionsOf(answer);
  return controlIn(dialog, inside(dialog, [&](const Accessible& object) {
                     return object.role() == ATSPI_ROLE_PUSH_BUTTON &&
                            std::ranges::count(captions, object.name()) != 0;
                   }));
}

void press(const Window& dialog, Answer answer) { buttonOf(dialog, answer).press(); }

std::wstring messageOf(const Window& box) {
  for (const Accessible& label : inside(box, ATSPI_ROLE_LABEL)) {
    if (!label.name().empty()) return label.name();
  }
  return {};
}

bool hasErrorIconAndOneButton(const Window& box) {
  const std::vector<Accessible> images = inside(box, ATSPI_ROLE_IMAGE);
  const std::vector<Accessible> buttons = inside(box, ATSPI_ROLE_PUSH_BUTTON);
  return images.size() == 1 && eventually([&] { return showsRed(images.front().screenPlace()); }) &&
         buttons.size() == 1 && buttons.front().name() == L"OK";
}

// The only field where a path can be typed.
Control nameField(const Window& fileDialog) {
  return controlIn(fileDialog, inside(fileDialog, [](const Accessible& object) {
                     return object.role() == ATSPI_ROLE_TEXT && object.is(ATSPI_STATE_EDITABLE);
                   }));
}

bool proposes(const Window& fileDialog, const std::wstring& name) {
  const Control field = nameField(fileDialog);
  return field.isThere() && field.text() == name;
}

std::vector<std::wstring> typesIn(const Window& fileDialog) {
  for (const Accessible& list : inside(fileDialog, ATSPI_ROLE_COMBO_BOX)) {
    const Control types(std::make_shared<NativeControl>(NativeControl{list, idOf(fileDialog)}));
    std::vector<std::wstring> entries = types.entries();
    // The other list has folders.
    if (entries.empty() || entries.front().find(L"(*") == std::wstring::npos) continue;
    const auto selected = std::ranges::find(entries, list.name());
    if (selected != entries.end()) selected->insert(0, L"> ");
    return entries;
  }
  return {};
}

void confirmName(const Window& fileDialog, const std::wstring& name) {
  nameField(fileDialog).setText(name);
  press(fileDialog, Answer::accept);
}

bool dialogsOpenTheirFile() { return false; }

}  // namespace quillgate::test
