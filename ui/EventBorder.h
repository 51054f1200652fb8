#pragma once

#include <exception>
#include <functional>
#include <utility>

namespace tamlo::ui {

/// The border between the toolkit's event handlers and ours, shared by a platform and its forms, which it outlives. An
/// exception of one of our handlers must not cross the toolkit: it is kept here, ends the event loop and comes out of
/// Rethrow. No handler runs after that.
class EventBorder {
 public:
  explicit EventBorder(std::function<void()> endLoop) : endLoop_(std::move(endLoop)) {}

  template <typename Handler>
  void Guard(Handler&& handler) noexcept {
    if (failure_) return;
    try {
      std::forward<Handler>(handler)();
    } catch (...) {
      failure_ = std::current_exception();
      endLoop_();
    }
  }

  /// Raises what a handler left behind, if anything; handlers run again afterwards.
  void Rethrow() {
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
  }

  void FormLoaded() noexcept { ++loadedForms_; }
  void FormUnloaded() {
    if (--loadedForms_ == 0) endLoop_();
  }
  [[nodiscard]] bool HasForms() const noexcept { return loadedForms_ > 0; }

 private:
  std::function<void()> endLoop_;
  std::exception_ptr failure_;
  int loadedForms_ = 0;
};

}  // namespace tamlo::ui
