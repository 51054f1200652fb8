#include "jet/page/PagesInUse.h"

#include <algorithm>

namespace jet {
namespace {

constexpr PagesInUse::Owner kTaken = 2;

}  // namespace

PagesInUse::PagesInUse(PageNumber pageCount) : names_{"nobody", "usage maps", "what was written since"}, owners_(pageCount, kNobody) {}

PagesInUse::Owner PagesInUse::AddOwner(const std::string& name) {
  names_.push_back(name);
  return static_cast<Owner>(names_.size() - 1);
}

void PagesInUse::NoteOutside(PageNumber page) noexcept { outside_ = outside_ == 0 ? page : std::min(outside_, page); }

void PagesInUse::Claim(PageNumber page, Owner owner) {
  if (page >= owners_.size()) {
    NoteOutside(page);
    return;
  }
  Owner& held = owners_[page];
  if (held != kNobody && (held != owner || owner != kUsageMaps)) seconds_.try_emplace(page, owner);
  if (held == kNobody) held = owner;
}

void PagesInUse::NoteUnread(PageNumber page) {
  complete_ = false;
  if (page >= owners_.size()) NoteOutside(page);
}

const std::string* PagesInUse::OwnerOf(PageNumber page) const noexcept {
  return page < owners_.size() && owners_[page] != kNobody ? &names_[owners_[page]] : nullptr;
}

const std::string* PagesInUse::SecondOwnerOf(PageNumber page) const noexcept {
  const auto found = seconds_.find(page);
  return found == seconds_.end() ? nullptr : &names_[found->second];
}

void PagesInUse::Take(PageNumber page) {
  if (page >= owners_.size()) owners_.resize(page + 1, kNobody);
  owners_[page] = kTaken;
}

void PagesInUse::Release(PageNumber page) {
  if (page < owners_.size()) owners_[page] = kNobody;
}

}  // namespace jet
