#include "fileio/file_contents.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <utility>

#include "fileio/large_memory.h"

namespace zevka {
namespace {

constexpr std::uint64_t kSmallRoom = 256;            // bytes; of the first block of a file
constexpr std::uint64_t kSmallMessage = 16384;       // bytes; up to here copying a file is cheap
constexpr std::uint64_t kLargestTailRoom = 1 << 20;  // bytes
constexpr std::uint64_t kSmallestCapacity = 4096;    // bytes; of a file with contents
// Bytes; a smaller piece among others is copied, as keeping track of it costs as much.
constexpr std::uint64_t kWorthSharing = 2048;
// Bytes: what contents may hold beyond a multiple of their size, and the memory of all blocks above
// which they are held to the lower bound.
constexpr std::uint64_t kStrictAbove = 65536;
constexpr std::uint64_t kLaxAbove = 1 << 20;
constexpr std::uint64_t kMostBlockBytes = 256 << 20;

// A message that was opened from memory is taken away as a malloc block in the end.
BlockUse MakeBlock(std::uint64_t room, bool mayBeTaken) {
  return room <= kSmallMessage || !mayBeTaken ? BlockUse::Make(room)
                                              : BlockUse::MakeReleasable(room);
}

// For a block that a host sees: apart from its record, so that it can stay when the file goes.
BlockUse MakeShown(std::uint64_t room) {
  return room >= kLargeMemory ? BlockUse::Make(room) : BlockUse::MakeReleasable(room);
}

}  // namespace

FileContents& FileContents::operator=(FileContents&& other) noexcept {
  if (this != &other) {
    other.UseFlat();
    Clear();
    size_ = std::exchange(other.size_, 0);
    first_ = std::move(other.first_);
    more_ = std::move(other.more_);
    other.Clear();
  }
  return *this;
}

FileContents::Place FileContents::Find(std::uint64_t at) const {
  if (more_.empty()) {
    return {0, at};
  }
  if (at < lastStart_) {
    lastPiece_ = 0;
    lastStart_ = 0;
  }
  while (lastPiece_ < more_.size() && at - lastStart_ >= PieceAt(lastPiece_).length) {
    lastStart_ += PieceAt(lastPiece_).length;
    ++lastPiece_;
  }
  return {lastPiece_, at - lastStart_};
}

void FileContents::Read(std::uint64_t at, char* buffer, std::uint64_t count) const {
  if (const char* const flat = flat_.load(std::memory_order_acquire)) {
    std::memcpy(buffer, flat + at, count);
    return;
  }
  Place place = Find(at);
  while (count != 0) {
    const Piece& piece = PieceAt(place.piece);
    const std::uint64_t step = std::min(count, piece.length - place.offset);
    std::memcpy(buffer, piece.block.Bytes() + piece.begin + place.offset, step);
    buffer += step;
    count -= step;
    place = {place.piece + 1, 0};
  }
}

std::string_view FileContents::Run(std::uint64_t at) const {
  if (at >= size_) {
    return {};
  }
  if (const char* const flat = flat_.load(std::memory_order_acquire)) {
    return {flat + at, size_ - at};
  }
  const Place place = Find(at);
  const Piece& piece = PieceAt(place.piece);
  return {piece.block.Bytes() + piece.begin + place.offset, piece.length - place.offset};
}

// Only where nobody reads.
void FileContents::UseFlat() {
  if (flat_.load(std::memory_order_relaxed) != nullptr) {
    first_ = {std::move(flatBlock_), 0, size_};
    more_.clear();
    lastPiece_ = 0;
    lastStart_ = 0;
    flat_.store(nullptr, std::memory_order_relaxed);
  }
}

bool FileContents::AddPiece(Piece piece) {
  if (!first_.block || (first_.length == 0 && more_.empty())) {
    size_ += piece.length;
    first_ = std::move(piece);
    return true;
  }
  const std::uint64_t length = piece.length;
  try {
    more_.push_back(std::move(piece));
  } catch (const std::bad_alloc&) {
    return false;
  }
  size_ += length;
  return true;
}

std::uint64_t FileContents::FirstRoom(std::uint64_t need, std::uint64_t capacity) const {
  // What is expected gets all the capacity that it will count for, as a host may ask for it.
  return expectedSize_ >= need ? std::bit_ceil(std::max(expectedSize_ + 1, kSmallestCapacity))
                               : std::max(std::min(std::max(2 * need, kSmallRoom), capacity), need);
}

// Appends to the block that the file has to itself, or begins a further one.
bool FileContents::AppendNew(std::string_view bytes, std::uint64_t capacity) {
  const std::uint64_t need = size_ + bytes.size();
  const bool grows = IsOwnFlat() && size_ == first_.length;
  if (grows && first_.block.CanGrow()) {
    if (!first_.block.Grow(FirstRoom(need, capacity))) {
      return false;
    }
  } else if (grows || size_ == 0) {
    if (!Flatten(FirstRoom(need, capacity))) {
      return false;
    }
  } else {
    const std::uint64_t doubled = Last().block.IsOnly() ? 2 * Last().block.Room() : 0;
    const std::uint64_t room = std::clamp(doubled, kSmallRoom, kLargestTailRoom);
    Piece piece{MakeBlock(std::max<std::uint64_t>(room, bytes.size()), false), 0, 0};
    if (!piece.block || !AddPiece(std::move(piece))) {
      return false;
    }
  }
  Piece& last = Last();
  char* const place = last.block.Claim(last.begin + last.length, bytes.size());
  if (place == nullptr) {
    return false;
  }
  std::memcpy(place, bytes.data(), bytes.size());
  last.length += bytes.size();
  size_ += bytes.size();
  return true;
}

bool FileContents::Append(std::string_view bytes, std::uint64_t capacity) {
  if (!first_.block) {
    return AppendNew(bytes, capacity);
  }
  Piece& last = Last();
  const std::uint64_t end = last.begin + last.length;
  const std::uint64_t alike = last.block.AlikeAt(end, bytes);
  const std::string_view rest = bytes.substr(alike);
  char* const place = rest.empty() ? nullptr : last.block.Claim(end + alike, rest.size());
  if (place != nullptr) {
    std::copy(rest.begin(), rest.end(), place);
  }
  if (place != nullptr || rest.empty()) {
    last.length += bytes.size();
    size_ += bytes.size();
    return true;
  }
  last.length += alike;
  size_ += alike;
  if (AppendNew(rest, capacity)) {
    return true;
  }
  Last().length -= alike;
  size_ -= alike;
  return false;
}

bool FileContents::AppendZeros(std::uint64_t count, std::uint64_t capacity) {
  constexpr std::string_view::size_type kStep = 4096;
  static constexpr char kZeros[kStep] = {};
  while (count != 0) {
    const std::uint64_t step = std::min<std::uint64_t>(count, kStep);
    if (!Append({kZeros, step}, capacity)) {
      return false;
    }
    count -= step;
  }
  return true;
}

bool FileContents::Write(std::uint64_t at, std::string_view bytes, std::uint64_t capacity) {
  UseFlat();  // the capacity may have grown also where nothing is written
  if (at > size_ && !AppendZeros(at - size_, capacity)) {
    return false;
  }
  if (bytes.empty()) {
    return true;
  }
  if (at == size_) {
    return Append(bytes, capacity);
  }
  if (!IsOwnFlat() && !Flatten(std::max(size_, at + bytes.size()))) {
    return false;
  }
  const std::uint64_t inside = std::min<std::uint64_t>(bytes.size(), size_ - at);
  // What is appended goes first, for that can fail.
  const std::string_view behind = bytes.substr(inside);
  if (!behind.empty() && !Append(behind, capacity)) {
    return false;
  }
  std::memcpy(first_.block.Bytes() + at, bytes.data(), inside);
  return true;
}

bool FileContents::AppendPiece(const BlockUse& block, std::uint64_t begin, std::uint64_t count,
                               std::uint64_t capacity) {
  UseFlat();
  Piece& last = Last();
  if (last.block && last.block == block && last.begin + last.length == begin) {
    last.length += count;
    size_ += count;
    return true;
  }
  if ((count < kWorthSharing && size_ != 0) || block.IsExposed()) {
    return Append({block.Bytes() + begin, count}, capacity);
  }
  block.Settle();
  return AddPiece({block, begin, count});
}

bool FileContents::AppendFrom(FileContents& from, std::uint64_t at, std::uint64_t count,
                              std::uint64_t capacity) {
  from.UseFlat();
  const Place place = from.Find(at);
  const Piece& source = from.PieceAt(place.piece);
  return AppendPiece(source.block, source.begin + place.offset, count, capacity);
}

bool FileContents::AppendHeld(const HeldText& bytes, std::uint64_t at, std::uint64_t count,
                              std::uint64_t capacity) {
  return AppendPiece(bytes.block, bytes.begin + at, count, capacity);
}

HeldText FileContents::Hold() {
  UseFlat();
  if (!first_.block || first_.block.IsExposed() || BlockBytes() > kMostBlockBytes) {
    return {};
  }
  first_.block.Settle();
  return {first_.block, first_.begin, first_.length};
}

void FileContents::Expect(const HeldText& bytes) {
  if (size_ == 0 && bytes.block) {
    first_ = {bytes.block, bytes.begin, 0};
  }
}

// Does not remember where it was: another thread may be reading.
void FileContents::CopyTo(char* buffer) const {
  std::uint64_t at = 0;
  ForEachPiece([&](std::string_view piece) {
    std::copy(piece.begin(), piece.end(), buffer + at);
    at += piece.size();
    return true;
  });
}

// Brings everything to one block of its own. Only where nobody reads.
bool FileContents::Flatten(std::uint64_t room) {
  BlockUse flat = MakeBlock(room, expectedSize_ == 0);
  if (!flat || flat.Claim(0, size_) == nullptr) {
    return false;
  }
  CopyTo(flat.Bytes());
  flatBlock_ = std::move(flat);
  flat_.store(flatBlock_.Bytes(), std::memory_order_relaxed);
  UseFlat();
  return true;
}

char* FileContents::Expose(std::uint64_t capacity, bool idle) {
  const std::uint64_t room = std::max(size_, capacity);
  if (idle) {
    UseFlat();
  }
  if (flat_.load(std::memory_order_relaxed) == nullptr && !CanExpose(room, idle)) {
    BlockUse made = MakeShown(room);
    if (!made || made.Claim(0, size_) == nullptr) {
      return nullptr;
    }
    CopyTo(made.Bytes());
    flatBlock_ = std::move(made);
    flat_.store(flatBlock_.Bytes(), std::memory_order_release);
    if (idle) {
      UseFlat();
    }
  }
  const bool apart = flat_.load(std::memory_order_relaxed) != nullptr;
  const BlockUse& block = apart ? flatBlock_ : first_.block;
  block.MarkExposed();
  block.ZeroBehind(size_, room);
  return block.Bytes();
}

// Whether the only block there is may be shown to a host as it is.
bool FileContents::CanExpose(std::uint64_t room, bool idle) const {
  return IsOwnFlat() && first_.length == size_ && first_.block.CanGrow() &&
         (first_.block.Room() >= room || (idle && first_.block.Grow(room)));
}

MallocBuffer FileContents::Release() {
  UseFlat();
  const bool whole = IsOwnFlat() && first_.length == size_ && first_.block.IsReleasable();
  if (!(whole && (first_.block.Room() > size_ || first_.block.IsExposed()))) {
    MallocBuffer copy(static_cast<char*>(std::malloc(size_ + 1)));
    if (copy) {
      CopyTo(copy.Data());
      copy.Data()[size_] = '\0';
      Clear();
    }
    return copy;
  }
  if (first_.block.Room() > size_) {
    first_.block.Bytes()[size_] = '\0';
  }
  MallocBuffer bytes = first_.block.Release();
  Clear();
  return bytes;
}

bool FileContents::Adopt(char* bytes, std::uint64_t size) {
  Piece piece{BlockUse::Adopt(bytes, size), 0, size};
  if (!piece.block) {
    return false;
  }
  Clear();
  piece.block.MarkExposed();
  first_ = std::move(piece);
  size_ = size;
  return true;
}

void FileContents::Abandon() {
  UseFlat();
  if (IsOwnFlat() && first_.block.IsReleasable()) {
    static_cast<void>(first_.block.Release().Release());
  } else if (first_.block && first_.block.IsExposed()) {
    static_cast<void>(new (std::nothrow) BlockUse(first_.block));
  }
  Clear();
}

void FileContents::Clear() {
  flat_.store(nullptr, std::memory_order_relaxed);
  flatBlock_ = {};
  first_ = {};
  more_.clear();
  size_ = 0;
  expectedSize_ = 0;
  lastPiece_ = 0;
  lastStart_ = 0;
}

// Most of the pieces are usually those of one large block.
std::uint64_t FileContents::HeldBytes() const {
  const BlockUse* largest = &first_.block;
  for (const Piece& piece : more_) {
    largest = piece.block.Room() > largest->Room() ? &piece.block : largest;
  }
  std::uint64_t held = largest->Room();
  const BlockUse* before = largest;
  for (std::size_t i = 0; i <= more_.size(); ++i) {
    const BlockUse& block = PieceAt(i).block;
    held += block == *largest || block == *before ? 0 : block.Room();
    before = &block;
  }
  return held;
}

void FileContents::Compact(Thrift thrift) {
  UseFlat();
  // What a host was shown stays where it is.
  if (!first_.block || first_.block.IsExposed()) {
    return;
  }
  const bool strict = thrift == Thrift::kStrict || BlockBytes() > kMostBlockBytes;
  if (HeldBytes() > (strict ? 2 * size_ + kStrictAbove : 16 * size_ + kLaxAbove)) {
    static_cast<void>(Flatten(size_ + 1));
  }
}

}  // namespace zevka
