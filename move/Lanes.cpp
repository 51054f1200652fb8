#include "move/Lanes.h"

#include <algorithm>
#include <exception>
#include <thread>
#include <vector>

#include "move/CopyRows.h"
#include "move/Waiting.h"

namespace tamlo::move {
namespace {

using Places = std::vector<std::size_t>;

Places Incomplete(const RowCopy& copy) {
  Places places;
  for (std::size_t i = 0; i < copy.plan.tables.size(); ++i)
    if (!copy.ledger.Of(i).Complete()) places.push_back(i);
  return places;
}

bool OneAfterAnother(RowCopy& copy, const Lane& lane, const Places& places) {
  return std::all_of(places.begin(), places.end(),
                     [&](std::size_t place) { return CopyRows(copy, lane, place) && BringWaitingOf(copy, lane, place); });
}

/// The tables that wait for a lane, and how the lanes ended.
class Shared {
 public:
  Shared(RowCopy& copy, Places places) : copy_(copy), places_(std::move(places)) {}

  void Go(const Lane& lane) noexcept {
    try {
      for (std::size_t next = next_++; next < places_.size() && !copy_.failed && !ended_; next = next_++)
        if (!CopyRows(copy_, lane, places_[next])) ended_ = true;
    } catch (...) {
      copy_.failed = true;
      const std::scoped_lock alone(copy_.telling);
      if (!error_) error_ = std::current_exception();
    }
  }
  [[nodiscard]] bool Through() const {
    if (error_) std::rethrow_exception(error_);
    return !ended_;
  }

 private:
  RowCopy& copy_;
  Places places_;
  std::atomic<std::size_t> next_ = 0;
  std::atomic<bool> ended_ = false;
  std::exception_ptr error_;
};

/// The longest table first, so that the lanes end together.
bool SideBySide(RowCopy& copy, std::span<const Lane> lanes, Places places) {
  std::stable_sort(places.begin(), places.end(),
                   [&](std::size_t left, std::size_t right) { return copy.plan.tables[left].rows > copy.plan.tables[right].rows; });
  const std::size_t threads = std::min(lanes.size(), places.size());
  Shared shared(copy, std::move(places));
  {
    std::vector<std::jthread> others;
    for (std::size_t i = 1; i < threads; ++i) others.emplace_back([&shared, &lane = lanes[i]] { shared.Go(lane); });
    if (threads > 0) shared.Go(lanes[0]);
  }
  return shared.Through();
}

}  // namespace

bool BringRows(RowCopy& copy, std::span<const Lane> lanes) {
  Places places = Incomplete(copy);
  const auto made = lanes.size() == 1 ? places.end() : std::stable_partition(places.begin(), places.end(), [&](std::size_t place) {
    return copy.ledger.Of(place).WasThere();
  });
  return OneAfterAnother(copy, lanes[0], {places.begin(), made}) && BringWaiting(copy, lanes[0]) &&
         SideBySide(copy, lanes, {made, places.end()});
}

}  // namespace tamlo::move
