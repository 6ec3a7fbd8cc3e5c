#include "platform/codec/KeyedArchiver.h"

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

#include "platform/codec/KeyedArchiveWriter.h"

namespace platform {
namespace {

// One of the archives that make up the result: the outermost or one that is data in another. Parents come before children,
// the children of one parent stand side by side.
struct Archive {
  const Coding* root = nullptr;  // Of the outermost, an object instead.
  std::size_t firstChild = 0;
  std::size_t childCount = 0;
  PropertyListSize size;  // Without the archives inside, until those are known.
  std::uint64_t hash = 0;
  std::uint32_t depth = 0;
  std::size_t sameAs = 0;  // Its number among its parent's children, or an equal one's before it.
  std::uint8_t* place = nullptr;
};

// Lays out the whole nest before a byte of it is written: lengths from the innermost outwards, contents the other way round.
class ArchiveNest {
 public:
  explicit ArchiveNest(const Object& root) : root_(root) {}

  std::optional<Data> bytes() {
    if (!gatherAll()) return std::nullopt;
    for (std::size_t i = archives_.size(); i-- > 0;) measure(i);
    const std::size_t length = archives_[0].size.length();
    if (length > maximumArchiveLength) return std::nullopt;
    Data bytes(length);
    archives_[0].place = bytes.data();
    for (std::size_t i = 0; i < archives_.size(); ++i) write(i);
    return bytes;
  }

 private:
  bool gather(std::size_t archive, KeyedArchiveWriter& writer) const {
    const Coding* root = archives_[archive].root;
    return root ? writer.gather(*root) : writer.gather(root_);
  }

  bool gatherAll() {
    archives_.emplace_back();
    for (std::size_t i = 0; i < archives_.size(); ++i) {
      const std::uint32_t depth = archives_[i].depth;
      if (depth > maximumArchiveDepth || !gather(i, writer_)) return false;
      writer_.place({});
      archives_[i].size = writer_.list().size();
      if (i > 0) archives_[i].hash = writer_.list().hash();
      archives_[i].firstChild = archives_.size();
      archives_[i].childCount = writer_.blobRoots().size();
      for (const Coding* root : writer_.blobRoots()) {
        Archive& child = archives_.emplace_back();
        child.root = root;
        child.depth = depth + 1;
      }
    }
    return true;
  }

  void measure(std::size_t at) {
    Archive& archive = archives_[at];
    findEquals(archive);
    for (std::size_t i = 0; i < archive.childCount; ++i) {
      const Archive& child = archives_[archive.firstChild + i];
      if (child.sameAs == i) archive.size.addData(child.size.length());
      archive.hash = (archive.hash ^ child.hash) * 0x9e3779b97f4a7c15u;
    }
  }

  // Equal data stand once in an archive, and so do equal archives inside it.
  void findEquals(const Archive& archive) {
    order_.clear();
    for (std::size_t i = 0; i < archive.childCount; ++i) {
      archives_[archive.firstChild + i].sameAs = i;
      order_.emplace_back(archives_[archive.firstChild + i].hash, i);
    }
    std::sort(order_.begin(), order_.end());
    std::size_t first = 0;
    for (std::size_t i = 1; i < order_.size(); ++i) {
      if (order_[i].first != order_[first].first) first = i;
      const std::size_t one = order_[first].second, other = order_[i].second;
      if (i != first && isSame(archive.firstChild + one, archive.firstChild + other)) {
        archives_[archive.firstChild + other].sameAs = one;
      }
    }
  }

  bool isSame(std::size_t one, std::size_t other) {
    if (!otherWriter_) otherWriter_.emplace();
    std::vector<std::pair<std::size_t, std::size_t>> pairs{{one, other}};
    for (std::size_t at = 0; at < pairs.size(); ++at) {
      const Archive& left = archives_[pairs[at].first];
      const Archive& right = archives_[pairs[at].second];
      if (left.childCount != right.childCount) return false;
      gather(pairs[at].first, writer_);
      gather(pairs[at].second, *otherWriter_);
      writer_.place({});
      otherWriter_->place({});
      if (!writer_.list().isSameAs(otherWriter_->list())) return false;
      for (std::size_t i = 0; i < left.childCount; ++i) pairs.emplace_back(left.firstChild + i, right.firstChild + i);
    }
    return true;
  }

  void write(std::size_t at) {
    const Archive& archive = archives_[at];
    if (!archive.place) return;
    // One without others inside has just been gathered and placed.
    if (archives_.size() > 1) gather(at, writer_);
    blobs_.clear();
    for (std::size_t i = 0; i < archive.childCount; ++i) {
      const Archive& child = archives_[archive.firstChild + i];
      blobs_.push_back({child.size.length(), child.sameAs});
    }
    if (archives_.size() > 1) writer_.place(blobs_);
    places_.clear();
    writer_.list().write(archive.place, places_);
    std::size_t written = 0;
    for (std::size_t i = 0; i < archive.childCount; ++i) {
      if (blobs_[i].sameAs == i) archives_[archive.firstChild + i].place = places_[written++];
    }
  }

  const Object& root_;
  std::vector<Archive> archives_;
  std::vector<std::pair<std::uint64_t, std::size_t>> order_;
  std::vector<ArchivedBlob> blobs_;
  std::vector<std::uint8_t*> places_;
  KeyedArchiveWriter writer_;
  std::optional<KeyedArchiveWriter> otherWriter_;  // when two archives inside look alike
};

}  // namespace

std::optional<Data> KeyedArchiver::archivedDataWithRootObject(const Object& root) {
  try {
    return ArchiveNest(root).bytes();
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace platform
