#include "bench/LibplistDecoding.h"

#include <plist/plist.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

using List = std::unique_ptr<void, decltype(&plist_free)>;

/// One keyed archive as libplist shows it.
class Archive {
 public:
  explicit Archive(platform::ByteView bytes) {
    plist_t list = nullptr;
    plist_from_bin(reinterpret_cast<const char*>(bytes.data()), static_cast<std::uint32_t>(bytes.size()), &list);
    if (!list) std::abort();
    list_.reset(list);
    objects_ = plist_dict_get_item(list, "$objects");
  }

  plist_t root() const { return object(plist_dict_get_item(plist_dict_get_item(list_.get(), "$top"), "root")); }
  /// What the reference under a key leads to.
  plist_t object(plist_t dictionary, const char* key) const { return object(plist_dict_get_item(dictionary, key)); }
  plist_t object(plist_t reference) const {
    std::uint64_t number = 0;
    plist_get_uid_val(reference, &number);
    return plist_array_get_item(objects_, static_cast<std::uint32_t>(number));
  }

 private:
  List list_{nullptr, plist_free};
  plist_t objects_ = nullptr;
};

std::uint64_t number(plist_t node) {
  std::uint64_t value = 0;
  plist_get_uint_val(node, &value);
  return value;
}

DTArchiveEntry entryOf(const Archive& archive, plist_t dictionary) {
  std::uint8_t isFolder = 0;
  plist_get_bool_val(plist_dict_get_item(dictionary, "folder"), &isFolder);
  DTArchiveEntry entry(std::string(plist_get_string_ptr(archive.object(dictionary, "name"), nullptr)), isFolder != 0,
                       number(archive.object(dictionary, "index")), number(archive.object(dictionary, "size")));
  entry.setRsrcIndex(number(archive.object(dictionary, "rsrcIndex")));
  return entry;
}

}  // namespace

DTTreeNode decodeWithLibplist(platform::ByteView bytes) {
  const Archive archive(bytes);
  const auto root = archive.root();
  DTTreeNode node(entryOf(archive, archive.object(root, "object")));
  const auto children = plist_dict_get_item(archive.object(root, "children"), "NS.objects");
  const std::uint32_t count = plist_array_get_size(children);
  node.reserveChildren(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    std::uint64_t length = 0;
    const char* child = plist_get_data_ptr(archive.object(plist_array_get_item(children, i)), &length);
    node.appendChild(decodeWithLibplist({reinterpret_cast<const std::uint8_t*>(child), length}));
  }
  return node;
}
