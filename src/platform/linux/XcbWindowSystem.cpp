#include "platform/linux/XcbWindowSystem.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/linux/WindowTitle.h"
#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbWindowGrabber.h"
#include "platform/linux/XcbWindowState.h"

namespace platform {

namespace {

constexpr int kListMs = 2000;
// In units of four bytes: a title of 64 KiB, of which a list shows a line.
constexpr std::uint32_t kMaxTitle = 16384;

// The check window that a living manager keeps, which names itself; a manager that died leaves its
// list on the root window, and the window goes with it.
bool ManagerLives(XcbConnection& link) {
  const xcb_atom_t check = link.Atoms().managerCheck;
  const std::vector<std::uint32_t> named =
      TakeValues(link, AskValues(link, link.Screen()->root, check));
  if (named.empty()) {
    return false;
  }
  const std::vector<std::uint32_t> itself = TakeValues(link, AskValues(link, named.front(), check));
  return !itself.empty() && itself.front() == named.front();
}

std::vector<xcb_window_t> Children(XcbConnection& link) {
  const auto tree =
      link.Take<xcb_query_tree_reply_t>(xcb_query_tree(link.Get(), link.Screen()->root).sequence);
  if (!tree) {
    return {};
  }
  const xcb_window_t* first = xcb_query_tree_children(tree.get());
  return {first, first + xcb_query_tree_children_length(tree.get())};
}

std::vector<xcb_window_t> Candidates(XcbConnection& link) {
  return ManagerLives(link)
             ? TakeValues(link, AskValues(link, link.Screen()->root, link.Atoms().clientList))
             : Children(link);
}

std::string TakeTitle(XcbConnection& link, xcb_get_property_cookie_t request) {
  const auto property = link.Take<xcb_get_property_reply_t>(request.sequence);
  if (!property || property->format != 8) {
    return "";
  }
  const std::string_view bytes(
      static_cast<const char*>(xcb_get_property_value(property.get())),
      static_cast<std::size_t>(xcb_get_property_value_length(property.get())));
  if (property->type == link.Atoms().utf8) {
    return TitleFromUtf8(bytes);
  }
  return property->type == link.Atoms().compoundText ? TitleFromCompoundText(bytes)
                                                     : TitleFromLatin1(bytes);
}

struct Questions {
  xcb_window_t window;
  ShowingRequest showing;
  xcb_get_property_cookie_t name;
  xcb_get_property_cookie_t legacyName;
};

Questions Ask(const XcbConnection& link, xcb_window_t window) {
  return {
      window, AskShowing(link, window),
      xcb_get_property(link.Get(), 0, window, link.Atoms().name, link.Atoms().utf8, 0, kMaxTitle),
      xcb_get_property(link.Get(), 0, window, XCB_ATOM_WM_NAME, XCB_ATOM_ANY, 0, kMaxTitle)};
}

}  // namespace

std::vector<WindowInfo> XcbWindowSystem::List() {
  const std::unique_ptr<XcbConnection> link = XcbConnection::Connect(kListMs, kListMs);
  if (!link) {
    return {};
  }
  std::vector<Questions> asked;
  for (const xcb_window_t window : Candidates(*link)) {
    asked.push_back(Ask(*link, window));
  }
  std::vector<WindowInfo> windows;
  for (const Questions& questions : asked) {
    const Visibility showing = TakeShowing(*link, questions.showing);
    std::string title = TakeTitle(*link, questions.name);
    std::string legacyTitle = TakeTitle(*link, questions.legacyName);
    if (title.empty()) {
      title.swap(legacyTitle);
    }
    if (showing == Visibility::kVisible && !title.empty()) {
      windows.push_back({questions.window, std::move(title)});
    }
  }
  return windows;
}

std::unique_ptr<WindowGrabber> XcbWindowSystem::Open(WindowHandle window) {
  return XcbWindowGrabber::Open(window);
}

}  // namespace platform
