#include "tests/app/VirtualDisplay.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace tamlo::app {

namespace {

using namespace std::chrono_literals;

void WaitUntil(const std::string& what, const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + 20s;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("waited in vain for " + what);
    std::this_thread::sleep_for(10ms);
  }
}

/// Windows come and go between two questions: an error about one of them is no failure.
int IgnoreError(Display* /*display*/, XErrorEvent* /*event*/) { return 0; }

/// Starts the server; returns its process and the number that it chose.
std::pair<pid_t, std::string> StartServer() {
  int ends[2];
  if (::pipe(ends) != 0) throw std::runtime_error("no pipe for Xvfb");
  const pid_t process = ::fork();
  if (process < 0) throw std::runtime_error("no process for Xvfb");
  if (process == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    ::close(ends[0]);
    if (std::freopen("/dev/null", "w", stderr) == nullptr) ::_exit(127);
    const std::string descriptor = std::to_string(ends[1]);
    ::execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "1024x768x24", "-dpi", "96", "-nolisten", "tcp", "-ac",
             static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(ends[1]);
  std::string number;
  for (char c = 0; ::read(ends[0], &c, 1) == 1 && c != '\n';) number += c;
  ::close(ends[0]);
  if (number.empty()) throw std::runtime_error("Xvfb does not start: is the package xvfb installed?");
  return {process, ":" + number};
}

}  // namespace

struct VirtualDisplay::Connection {
  explicit Connection(const std::string& name) : display(XOpenDisplay(name.c_str())) {
    if (display == nullptr) throw std::runtime_error("no connection to " + name);
    XSetErrorHandler(IgnoreError);
    own = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
  }
  ~Connection() { XCloseDisplay(display); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  [[nodiscard]] Atom Named(const char* atom) const { return XInternAtom(display, atom, False); }

  [[nodiscard]] std::string Property(Window window, const char* property) const {
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(display, window, Named(property), 0, 100000, False, AnyPropertyType, &type, &format, &count, &rest, &data) !=
        Success) {
      return {};
    }
    // Xlib gives 32-bit items as longs.
    const std::size_t size = format == 32 ? sizeof(long) : static_cast<std::size_t>(format) / 8;
    std::string text(reinterpret_cast<const char*>(data), data == nullptr ? 0 : count * size);
    if (data != nullptr) XFree(data);
    return text;
  }

  [[nodiscard]] bool IsVisible(Window window) const {
    XWindowAttributes attributes;
    return XGetWindowAttributes(display, window, &attributes) != 0 && attributes.map_state == IsViewable;
  }

  [[nodiscard]] std::vector<Window> TopLevels() const {
    Window root = None;
    Window parent = None;
    Window* children = nullptr;
    unsigned count = 0;
    std::vector<Window> windows;
    if (XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count) != 0 && children != nullptr) {
      windows.assign(children, children + count);
      XFree(children);
    }
    return windows;
  }

  Display* display;
  Window own = None;
};

VirtualDisplay::VirtualDisplay() {
  std::tie(server_, name_) = StartServer();
  connection_ = std::make_unique<Connection>(name_);
}

VirtualDisplay::~VirtualDisplay() {
  connection_.reset();
  ::kill(server_, SIGTERM);
  ::waitpid(server_, nullptr, 0);
}

VirtualDisplay::WindowId VirtualDisplay::Find(pid_t process, const std::string& title) {
  for (const Window window : connection_->TopLevels()) {
    const std::string owner = connection_->Property(window, "_NET_WM_PID");
    if (owner.size() != sizeof(long) || *reinterpret_cast<const long*>(owner.data()) != process) continue;
    if (connection_->IsVisible(window) && connection_->Property(window, "_NET_WM_NAME") == title) return window;
  }
  return None;
}

VirtualDisplay::WindowId VirtualDisplay::WaitFor(pid_t process, const std::string& title) {
  WindowId window = None;
  WaitUntil("window \"" + title + "\"", [&] {
    window = Find(process, title);
    Window focused = None;
    int revert = 0;
    XGetInputFocus(connection_->display, &focused, &revert);
    return window != None && focused == window;
  });
  return window;
}

void VirtualDisplay::WaitUntilGone(pid_t process, const std::string& title) {
  WaitUntil("the end of window \"" + title + "\"", [&] { return Find(process, title) == None; });
}

void VirtualDisplay::RunXdotool(const std::string& arguments, const std::string& input) {
  const std::string command = "DISPLAY=" + name_ + " LC_ALL=C.UTF-8 xdotool " + arguments;
  FILE* pipe = ::popen(command.c_str(), "w");
  if (pipe == nullptr) throw std::runtime_error("no xdotool");
  std::fwrite(input.data(), 1, input.size(), pipe);
  if (::pclose(pipe) != 0) throw std::runtime_error("xdotool failed: " + command);
}

void VirtualDisplay::Type(const std::string& text) { RunXdotool("type --delay 15 --file -", text); }

void VirtualDisplay::Press(const std::string& key) { RunXdotool("key --delay 15 " + key, {}); }

void VirtualDisplay::Close(WindowId window) {
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = connection_->Named("WM_PROTOCOLS");
  event.xclient.format = 32;
  event.xclient.data.l[0] = static_cast<long>(connection_->Named("WM_DELETE_WINDOW"));
  event.xclient.data.l[1] = CurrentTime;
  XSendEvent(connection_->display, window, False, NoEventMask, &event);
  XSync(connection_->display, False);
}

void VirtualDisplay::EmptyClipboard() {
  XSetSelectionOwner(connection_->display, connection_->Named("CLIPBOARD"), None, CurrentTime);
  XSync(connection_->display, False);
}

std::string VirtualDisplay::Clipboard() {
  Display* display = connection_->display;
  const Atom clipboard = connection_->Named("CLIPBOARD");
  WaitUntil("the clipboard", [&] { return XGetSelectionOwner(display, clipboard) != None; });
  XConvertSelection(display, clipboard, connection_->Named("UTF8_STRING"), connection_->Named("TAMLO_TEXT"), connection_->own, CurrentTime);
  XEvent event;
  WaitUntil("the clipboard's text", [&] { return XCheckTypedEvent(display, SelectionNotify, &event) != False; });
  return connection_->Property(connection_->own, "TAMLO_TEXT");
}

void VirtualDisplay::Screenshot(const std::string& name) {
  const char* folder = std::getenv("TAMLO_SCREENSHOTS");
  if (folder == nullptr) return;
  // A window paints itself a moment after it has the keyboard.
  std::this_thread::sleep_for(400ms);
  const std::string command = "import -display " + name_ + " -window root '" + folder + "/" + name + ".png'";
  if (std::system(command.c_str()) != 0) throw std::runtime_error("no screenshot: " + command);
}

}  // namespace tamlo::app
