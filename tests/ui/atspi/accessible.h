// Objects on the accessibility bus, as screen readers see them. The test program's own thread only.
// An object that has gone has no name, no children and no text.
#pragma once

#include <atspi/atspi.h>
#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/ui/driver.h"

namespace quillgate::test {

class Accessible {
 public:
  Accessible() = default;
  // Takes over a reference; null for none.
  explicit Accessible(AtspiAccessible* object);

  // The windows of a process.
  [[nodiscard]] static std::vector<Accessible> windowsOf(pid_t process);

  bool operator==(const Accessible&) const = default;

  [[nodiscard]] std::wstring name() const;
  // Invalid once it has gone.
  [[nodiscard]] AtspiRole role() const;
  // Whether it has this state; it has none once it has gone.
  [[nodiscard]] bool is(AtspiStateType state) const;
  [[nodiscard]] std::vector<Accessible> children() const;
  [[nodiscard]] int childCount() const;
  [[nodiscard]] Accessible child(int index) const;
  [[nodiscard]] int indexInParent() const;
  [[nodiscard]] Box screenPlace() const;
  // The child at a point of the screen.
  [[nodiscard]] Accessible childAt(Point onScreen) const;

  // Its content, without what makes lists and buttons of it; its name where it has none.
  [[nodiscard]] std::wstring text() const;
  // How much larger the number that it sets could be.
  [[nodiscard]] double belowMaximum() const;

  // False when it does not do that.
  [[nodiscard]] bool setText(const std::wstring& text) const;
  [[nodiscard]] bool doFirstAction() const;
  [[nodiscard]] bool grabFocus() const;

 private:
  [[nodiscard]] AtspiAccessible* object() const { return object_.get(); }

  std::shared_ptr<AtspiAccessible> object_;
};

}  // namespace quillgate::test
