#include "ado/jet/RowStore.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <system_error>
#include <type_traits>
#include <utility>

#include "runtime/Error.h"

namespace tamlo::ado::jetprovider {

namespace {

using Storage = Variant::Storage;

constexpr std::size_t kBlockBytes = std::size_t{256} << 10;

std::size_t SizeOf(const Variant& value) {
  std::size_t size = sizeof(Variant);
  if (const auto* text = value.If<std::string>()) size += text->size();
  if (const auto* bytes = value.If<runtime::Bytes>()) size += bytes->size();
  return size;
}

std::size_t SizeOf(const std::vector<Variant>& row) {
  std::size_t size = sizeof(row);
  for (const Variant& value : row) size += SizeOf(value);
  return size;
}

[[noreturn]] void Refuse(int reason) {
  throw runtime::Error(runtime::kProviderFailure,
                       "Les lignes du jeu d'enregistrements ne peuvent pas être gardées dans un fichier temporaire : " +
                           std::generic_category().message(reason),
                       "Microsoft JET Database Engine");
}

// ----- a value as bytes: which alternative it is, then what it holds, as this program has it in memory

void PutRun(std::string& out, const void* data, std::size_t size) {
  out.append(reinterpret_cast<const char*>(&size), sizeof size);
  out.append(static_cast<const char*>(data), size);
}

void Put(std::string& out, const Variant& value) {
  out.push_back(static_cast<char>(value.Stored().index()));
  std::visit(
      [&](const auto& held) {
        using T = std::remove_cvref_t<decltype(held)>;
        if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, runtime::Bytes>) {
          PutRun(out, held.data(), held.size());
        } else if constexpr (std::is_same_v<T, runtime::Decimal> || std::is_same_v<T, runtime::Guid>) {
          PutRun(out, held.text.data(), held.text.size());
        } else if constexpr (!std::is_empty_v<T>) {
          static_assert(std::is_trivially_copyable_v<T>);
          out.append(reinterpret_cast<const char*>(&held), sizeof held);
        }
      },
      value.Stored());
}

class Taker {
 public:
  explicit Taker(const std::string& bytes) : bytes_(bytes) {}

  Variant Take() {
    std::uint8_t which = 0;
    Copy(&which, sizeof which);
    return TakeAs(which, std::make_index_sequence<std::variant_size_v<Storage>>());
  }

 private:
  void Copy(void* to, std::size_t size) {
    if (bytes_.size() - at_ < size) Refuse(EIO);
    std::memcpy(to, bytes_.data() + at_, size);
    at_ += size;
  }
  std::string Text() {
    std::size_t size = 0;
    Copy(&size, sizeof size);
    if (bytes_.size() - at_ < size) Refuse(EIO);
    at_ += size;
    return bytes_.substr(at_ - size, size);
  }
  template <typename T>
  Variant Of() {
    if constexpr (std::is_same_v<T, std::string>) {
      return Text();
    } else if constexpr (std::is_same_v<T, runtime::Bytes>) {
      const std::string text = Text();
      const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
      return runtime::Bytes(bytes, bytes + text.size());
    } else if constexpr (std::is_same_v<T, runtime::Decimal> || std::is_same_v<T, runtime::Guid>) {
      return T{Text()};
    } else if constexpr (std::is_empty_v<T>) {
      return T{};
    } else {
      T held{};
      Copy(&held, sizeof held);
      return held;
    }
  }
  template <std::size_t... I>
  Variant TakeAs(std::size_t which, std::index_sequence<I...>) {
    static constexpr std::array<Variant (Taker::*)(), sizeof...(I)> kWays{&Taker::Of<std::variant_alternative_t<I, Storage>>...};
    if (which >= kWays.size()) Refuse(EIO);
    return (this->*kWays[which])();
  }

  const std::string& bytes_;
  std::size_t at_ = 0;
};

}  // namespace

void RowStore::Add(std::vector<Variant> row) {
  columns_ = row.size();
  tailBytes_ += SizeOf(row);
  tail_.push_back(std::move(row));
  if (tailBytes_ <= (file_ == nullptr ? limit_ : std::min(limit_, kBlockBytes))) return;
  try {
    MoveTail();
  } catch (...) {
    tail_.pop_back();
    throw;
  }
}

void RowStore::MoveTail() {
  if (file_ == nullptr) {
    std::unique_ptr<std::FILE, Closer> file(std::tmpfile());
    if (file == nullptr || std::fgetpos(file.get(), &end_) != 0) Refuse(errno);
    file_ = std::move(file);
  }
  std::string bytes;
  std::size_t moved = 0;
  const auto send = [&](std::size_t upTo) {
    WriteBlock(bytes, tailFirst_, upTo - moved);
    tailFirst_ += upTo - moved;
    moved = upTo;
    bytes.clear();
  };
  try {
    for (std::size_t i = 0; i < tail_.size(); ++i) {
      for (const Variant& value : tail_[i]) Put(bytes, value);
      if (bytes.size() >= kBlockBytes) send(i + 1);
    }
    if (moved < tail_.size()) send(tail_.size());
  } catch (...) {
    tail_.erase(tail_.begin(), tail_.begin() + static_cast<std::ptrdiff_t>(moved));
    throw;
  }
  tail_.clear();
  tail_.shrink_to_fit();
  tailBytes_ = 0;
}

void RowStore::WriteBlock(const std::string& bytes, std::size_t first, std::size_t count) {
  Block block{end_, bytes.size(), first, count};
  errno = 0;
  if (std::fsetpos(file_.get(), &end_) != 0 || std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size() ||
      std::fflush(file_.get()) != 0) {
    const int reason = errno;
    std::clearerr(file_.get());
    Refuse(reason);
  }
  blocks_.push_back(block);
  if (std::fgetpos(file_.get(), &end_) != 0) {
    blocks_.pop_back();
    Refuse(errno);
  }
}

const std::vector<Variant>& RowStore::At(std::size_t position) {
  if (position >= tailFirst_) return tail_[position - tailFirst_];
  if (!replaced_.empty()) {
    if (const auto found = replaced_.find(position); found != replaced_.end()) return found->second;
  }
  if (position < loadedFirst_ || position - loadedFirst_ >= loaded_.size()) {
    const auto behind =
        std::upper_bound(blocks_.begin(), blocks_.end(), position, [](std::size_t wanted, const Block& block) { return wanted < block.first; });
    Load(*std::prev(behind));
  }
  return loaded_[position - loadedFirst_];
}

void RowStore::Load(const Block& block) {
  std::string bytes(block.bytes, '\0');
  loaded_.clear();
  errno = 0;
  if (std::fsetpos(file_.get(), &block.place) != 0 || std::fread(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size())
    Refuse(errno == 0 ? EIO : errno);
  Taker taker(bytes);
  std::vector<std::vector<Variant>> rows(block.count);
  for (auto& row : rows) {
    row.reserve(columns_);
    for (std::size_t i = 0; i < columns_; ++i) row.push_back(taker.Take());
  }
  loaded_ = std::move(rows);
  loadedFirst_ = block.first;
}

void RowStore::Replace(std::size_t position, std::vector<Variant> row) {
  if (position >= tailFirst_) {
    tail_[position - tailFirst_] = std::move(row);
  } else {
    replaced_[position] = std::move(row);
  }
}

void RowStore::Clear() noexcept {
  tail_.clear();
  loaded_.clear();
  blocks_.clear();
  replaced_.clear();
  tailFirst_ = tailBytes_ = loadedFirst_ = 0;
  file_.reset();
}

}  // namespace tamlo::ado::jetprovider
