#include "ado/RowStore.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

#include "runtime/Error.h"

namespace tamlo::ado {

namespace {

using Storage = Variant::Storage;

// Rows begin below it: 16 bits say where.
constexpr std::size_t kBlockBytes = std::size_t{32} << 10;

[[noreturn]] void Refuse(int reason) {
  throw runtime::Error(runtime::kProviderFailure,
                       "Les lignes du jeu d'enregistrements ne peuvent pas être gardées dans un fichier temporaire : " +
                           std::generic_category().message(reason),
                       "ado");
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
  explicit Taker(std::string_view bytes) : bytes_(bytes) {}

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
  std::string_view Text() {
    std::size_t size = 0;
    Copy(&size, sizeof size);
    if (bytes_.size() - at_ < size) Refuse(EIO);
    at_ += size;
    return bytes_.substr(at_ - size, size);
  }
  template <typename T>
  Variant Of() {
    if constexpr (std::is_same_v<T, std::string>) {
      return std::string(Text());
    } else if constexpr (std::is_same_v<T, runtime::Bytes>) {
      const std::string_view text = Text();
      const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
      return runtime::Bytes(bytes, bytes + text.size());
    } else if constexpr (std::is_same_v<T, runtime::Decimal> || std::is_same_v<T, runtime::Guid>) {
      return T{std::string(Text())};
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

  std::string_view bytes_;
  std::size_t at_ = 0;
};

}  // namespace

std::size_t RowStore::BlockBytes() const noexcept { return std::min(limit_, kBlockBytes); }

void RowStore::Add(const std::vector<Variant>& row) {
  AddInMemory(row);
  Block& block = blocks_.back();
  if (inMemory_ <= limit_ || block.size < BlockBytes()) return;
  const std::size_t before = block.starts.back();
  try {
    MoveOut();
  } catch (...) {
    inMemory_ -= block.size - before;
    block.starts.pop_back();
    block.bytes.resize(before);
    block.size = before;
    --block.count;
    throw;
  }
}

void RowStore::AddInMemory(const std::vector<Variant>& row) {
  if (blocks_.size() == firstInMemory_ || blocks_.back().size >= BlockBytes()) {
    Block block;
    block.first = Count();
    block.bytes.reserve(kBlockBytes + kBlockBytes / 8);
    blocks_.push_back(std::move(block));
  }
  columns_ = row.size();
  Block& block = blocks_.back();
  block.starts.push_back(static_cast<std::uint16_t>(block.size));
  try {
    for (const Variant& value : row) Put(block.bytes, value);
  } catch (...) {
    block.starts.pop_back();
    block.bytes.resize(block.size);
    throw;
  }
  inMemory_ += block.bytes.size() - block.size;
  block.size = block.bytes.size();
  ++block.count;
}

void RowStore::MoveOut() {
  if (file_ == nullptr) {
    errno = 0;
    std::unique_ptr<std::FILE, Closer> file(std::tmpfile());
    if (file == nullptr || std::fgetpos(file.get(), &end_) != 0) Refuse(errno == 0 ? EIO : errno);
    file_ = std::move(file);
  }
  for (; firstInMemory_ < blocks_.size(); ++firstInMemory_) Write(blocks_[firstInMemory_]);
}

void RowStore::Write(Block& block) {
  std::fpos_t end{};
  errno = 0;
  std::FILE* const file = file_.get();
  if (std::fsetpos(file, &end_) != 0 || std::fwrite(block.bytes.data(), 1, block.size, file) != block.size ||
      std::fwrite(block.starts.data(), sizeof(std::uint16_t), block.count, file) != block.count || std::fflush(file) != 0 ||
      std::fgetpos(file, &end) != 0) {
    const int reason = errno;
    std::clearerr(file);
    Refuse(reason == 0 ? EIO : reason);
  }
  block.place = std::exchange(end_, end);
  // An assignment of {} would keep the room.
  std::string().swap(block.bytes);
  std::vector<std::uint16_t>().swap(block.starts);
  inMemory_ -= block.size;
}

void RowStore::Read(const Block& block) {
  read_.count = 0;
  read_.bytes.resize(block.size);
  read_.starts.resize(block.count);
  errno = 0;
  if (std::fsetpos(file_.get(), &block.place) != 0 || std::fread(read_.bytes.data(), 1, block.size, file_.get()) != block.size ||
      std::fread(read_.starts.data(), sizeof(std::uint16_t), block.count, file_.get()) != block.count)
    Refuse(errno == 0 ? EIO : errno);
  read_.first = block.first;
  read_.count = block.count;
}

const RowStore::Block& RowStore::BlockOf(std::size_t position) {
  const auto has = [&](const Block& block) { return position >= block.first && position - block.first < block.count; };
  if (has(read_)) return read_;
  if (current_ >= blocks_.size() || !has(blocks_[current_])) {
    const auto behind = std::upper_bound(blocks_.begin(), blocks_.end(), position,
                                         [](std::size_t wanted, const Block& block) { return wanted < block.first; });
    current_ = static_cast<std::size_t>(behind - blocks_.begin()) - 1;
  }
  if (current_ >= firstInMemory_) return blocks_[current_];
  Read(blocks_[current_]);
  return read_;
}

const std::vector<Variant>& RowStore::At(std::size_t position) {
  if (position == rowAt_) return row_;
  if (!replaced_.empty()) {
    if (const auto found = replaced_.find(position); found != replaced_.end()) return found->second;
  }
  const Block& block = BlockOf(position);
  const std::size_t start = block.starts[position - block.first];
  if (start > block.bytes.size()) Refuse(EIO);
  Taker taker(std::string_view(block.bytes).substr(start));
  rowAt_ = kNone;
  row_.resize(columns_);
  for (Variant& value : row_) value = taker.Take();
  rowAt_ = position;
  return row_;
}

void RowStore::Replace(std::size_t position, std::vector<Variant> row) {
  if (position == rowAt_) rowAt_ = kNone;
  replaced_[position] = std::move(row);
}

void RowStore::Clear() noexcept {
  blocks_.clear();
  replaced_.clear();
  read_ = Block();
  inMemory_ = firstInMemory_ = current_ = 0;
  rowAt_ = kNone;
  file_.reset();
}

}  // namespace tamlo::ado
