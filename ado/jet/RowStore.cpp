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

constexpr std::size_t kBlockBytes = std::size_t{32} << 10;

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
  Taker(const std::string& bytes, std::size_t at) : bytes_(bytes), at_(at) {}

  [[nodiscard]] std::size_t At() const noexcept { return at_; }
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
  std::size_t at_;
};

}  // namespace

void RowStore::Add(const std::vector<Variant>& row) {
  if (blocks_.size() == firstInMemory_ || blocks_.back().size >= std::min(limit_, kBlockBytes)) {
    Block block;
    block.first = Count();
    blocks_.push_back(std::move(block));
    blocks_.back().bytes.reserve(kBlockBytes + kBlockBytes / 8);
  }
  columns_ = row.size();
  Block& block = blocks_.back();
  const std::size_t before = block.size;
  try {
    for (const Variant& value : row) Put(block.bytes, value);
    block.size = block.bytes.size();
    inMemory_ += block.size - before;
    ++block.count;
    if (inMemory_ > limit_ && block.size >= std::min(limit_, kBlockBytes)) MoveOut();
  } catch (...) {
    if (block.size != before) {
      --block.count;
      inMemory_ -= block.size - before;
    }
    block.bytes.resize(before);
    block.size = before;
    throw;
  }
}

void RowStore::MoveOut() {
  if (file_ == nullptr) {
    std::unique_ptr<std::FILE, Closer> file(std::tmpfile());
    if (file == nullptr || std::fgetpos(file.get(), &end_) != 0) Refuse(errno);
    file_ = std::move(file);
  }
  for (; firstInMemory_ < blocks_.size(); ++firstInMemory_) Write(blocks_[firstInMemory_]);
}

void RowStore::Write(Block& block) {
  std::fpos_t end{};
  errno = 0;
  if (std::fsetpos(file_.get(), &end_) != 0 || std::fwrite(block.bytes.data(), 1, block.size, file_.get()) != block.size ||
      std::fflush(file_.get()) != 0 || std::fgetpos(file_.get(), &end) != 0) {
    const int reason = errno;
    std::clearerr(file_.get());
    Refuse(reason);
  }
  block.place = std::exchange(end_, end);
  block.bytes = {};
  inMemory_ -= block.size;
}

std::string RowStore::Read(const Block& block) const {
  std::string bytes(block.size, '\0');
  errno = 0;
  if (std::fsetpos(file_.get(), &block.place) != 0 || std::fread(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size())
    Refuse(errno == 0 ? EIO : errno);
  return bytes;
}

const std::vector<Variant>& RowStore::At(std::size_t position) {
  if (!replaced_.empty()) {
    if (const auto found = replaced_.find(position); found != replaced_.end()) return found->second;
  }
  if (position < loadedFirst_ || position - loadedFirst_ >= loadedCount_) {
    const auto behind =
        std::upper_bound(blocks_.begin(), blocks_.end(), position, [](std::size_t wanted, const Block& block) { return wanted < block.first; });
    Load(static_cast<std::size_t>(behind - blocks_.begin()) - 1);
  }
  return rows_[position - loadedFirst_];
}

void RowStore::Load(std::size_t number) {
  const Block& block = blocks_[number];
  if (loaded_ != number) {
    loaded_ = number;
    loadedFirst_ = block.first;
    loadedCount_ = loadedBytes_ = 0;
  }
  const std::string read = number < firstInMemory_ ? Read(block) : std::string();
  Taker taker(number < firstInMemory_ ? read : block.bytes, loadedBytes_);
  if (rows_.size() < block.count) rows_.resize(block.count);
  for (; loadedCount_ < block.count; ++loadedCount_, loadedBytes_ = taker.At()) {
    std::vector<Variant>& row = rows_[loadedCount_];
    row.resize(columns_);
    for (Variant& value : row) value = taker.Take();
  }
}

void RowStore::Replace(std::size_t position, std::vector<Variant> row) { replaced_[position] = std::move(row); }

void RowStore::Clear() noexcept {
  blocks_.clear();
  rows_.clear();
  replaced_.clear();
  inMemory_ = firstInMemory_ = loadedFirst_ = loadedCount_ = loadedBytes_ = 0;
  loaded_ = kNone;
  file_.reset();
}

}  // namespace tamlo::ado::jetprovider
