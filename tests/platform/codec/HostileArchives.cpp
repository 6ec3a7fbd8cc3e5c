#include "tests/platform/codec/HostileArchives.h"

#include <array>
#include <vector>

#include "tests/platform/codec/ArchiveBytes.h"

using platform::Data;

namespace {

using Use = std::function<void(const std::string&, const Data&)>;

// The slot of a tree node with one child, whose archive is `child`.
std::uint32_t nodeSlot(ArchiveBytes& archive, const std::vector<std::uint32_t>& blobs) {
  const auto name = archive.slot(archive.text("name"));
  const auto number = archive.slot(archive.integer(7));
  const auto entry = archive.instance("DTArchiveEntry", {{"name", archive.uid(name, 4)},
                                                         {"folder", archive.boolean(true)},
                                                         {"index", archive.uid(number, 4)},
                                                         {"rsrcIndex", archive.uid(number, 4)},
                                                         {"size", archive.uid(number, 4)}});
  const auto children = archive.collection("NSArray", blobs);
  return archive.instance("DTTreeNode", {{"object", archive.uid(entry, 4)}, {"children", archive.uid(children, 4)}});
}

Data node(const std::vector<Data>& children, std::size_t times = 1) {
  ArchiveBytes archive;
  std::vector<std::uint32_t> blobs;
  for (std::size_t i = 0; i < times; ++i) {
    for (std::size_t child = 0; child < children.size(); ++child) {
      blobs.push_back(i == 0 ? archive.slot(archive.data(children[child])) : blobs[child]);
    }
  }
  return archive.archive(nodeSlot(archive, blobs));
}

void bent(const Use& use) {
  const Data bytes = sampleArchive();
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    use("cut off at " + std::to_string(length), Data(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)));
  }
  for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
    Data flipped = bytes;
    flipped[bit / 8] ^= static_cast<std::uint8_t>(1 << bit % 8);
    use("bit " + std::to_string(bit), flipped);
  }
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    for (const int value : {0x00, 0x0f, 0x13, 0x14, 0x1f, 0x4f, 0x5f, 0x6f, 0x7f, 0x80, 0x8f, 0xaf, 0xdf, 0xff}) {
      Data changed = bytes;
      changed[at] = static_cast<std::uint8_t>(value);
      use("byte " + std::to_string(at) + " is " + std::to_string(value), changed);
    }
  }
}

// Fields of 8 bytes, the highest first.
std::uint64_t numberAt(const Data& bytes, std::size_t at) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < 8; ++i) number = number << 8 | bytes[at + i];
  return number;
}

Data withNumberAt(Data bytes, std::size_t at, std::uint64_t number) {
  for (std::size_t i = 8; i-- > 0; number >>= 8) bytes[at + i] = static_cast<std::uint8_t>(number);
  return bytes;
}

void bentTrailers(const Use& use) {
  const Data bytes = sampleArchive();
  const std::size_t trailer = bytes.size() - 32;
  for (const std::size_t field : {8, 16, 24}) {
    const std::uint64_t sound = numberAt(bytes, trailer + field);
    for (unsigned bit = 0; bit < 64; ++bit) {
      for (const std::uint64_t near : {std::uint64_t{0} - 1, std::uint64_t{0}, std::uint64_t{1}}) {
        const std::uint64_t number = (std::uint64_t{1} << bit) + near;
        use("field " + std::to_string(field) + " is " + std::to_string(number), withNumberAt(bytes, trailer + field, number));
        use("field " + std::to_string(field) + " is off by " + std::to_string(number),
            withNumberAt(bytes, trailer + field, sound + number));
      }
    }
  }
  for (const std::size_t field : {6, 7}) {
    for (int size = 0; size < 256; ++size) {
      Data changed = bytes;
      changed[trailer + field] = static_cast<std::uint8_t>(size);
      use("size " + std::to_string(field) + " is " + std::to_string(size), changed);
    }
  }
}

void bentMarkers(const Use& use) {
  const Data bytes = sampleArchive({.offsetSize = 8});
  const std::size_t count = numberAt(bytes, bytes.size() - 24), table = numberAt(bytes, bytes.size() - 8);
  for (std::size_t object = 0; object < count; ++object) {
    const std::size_t at = numberAt(bytes, table + 8 * object);
    for (int marker = 0; marker < 256; ++marker) {
      Data changed = bytes;
      changed[at] = static_cast<std::uint8_t>(marker);
      use("marker " + std::to_string(object) + " is " + std::to_string(marker), changed);
    }
  }
}

struct Kind {
  const char* name;
  std::function<ListBytes::Number(ArchiveBytes&)> make;
};

const std::vector<Kind>& kinds() {
  static const std::vector<Kind> kinds = {
      {"null", [](ArchiveBytes& a) { return a.raw(bytesOf({0})); }},
      {"false", [](ArchiveBytes& a) { return a.boolean(false); }},
      {"zero", [](ArchiveBytes& a) { return a.integer(0); }},
      {"largest", [](ArchiveBytes& a) { return a.integer(~std::uint64_t{0}, 16); }},
      {"negative", [](ArchiveBytes& a) { return a.integer(~std::uint64_t{0}, 8); }},
      {"huge length", [](ArchiveBytes& a) { return a.integer(std::uint64_t{1} << 61, 8); }},
      {"real", [](ArchiveBytes& a) { return a.real(0.0 / 0.0); }},
      {"date",
       [](ArchiveBytes& a) {
         return a.raw(bytesOf({0x33, 0x7f, 0xf0, 0, 0, 0, 0, 0, 0}));
       }},
      {"data",
       [](ArchiveBytes& a) {
         return a.data(bytesOf({0x80, 0xff}));
       }},
      {"text", [](ArchiveBytes& a) { return a.text("text"); }},
      {"surrogate",
       [](ArchiveBytes& a) {
         return a.raw(bytesOf({0x61, 0xd8, 0}));
       }},
      {"nil", [](ArchiveBytes& a) { return a.uid(0); }},
      {"past the end", [](ArchiveBytes& a) { return a.uid(0xfffffffe, 4); }},
      {"array", [](ArchiveBytes& a) { return a.array({0}); }},
      {"references",
       [](ArchiveBytes& a) {
         return a.uids({1, 1, 1});
       }},
      {"nils",
       [](ArchiveBytes& a) {
         return a.uids({0, 0});
       }},
      {"dictionary",
       [](ArchiveBytes& a) {
         return a.dictionary({{0, 0}});
       }},
      {"set",
       [](ArchiveBytes& a) {
         return a.raw(bytesOf({0xc1, 0}));
       }},
  };
  return kinds;
}

struct Class {
  const char* name;
  std::vector<const char*> keys;
};

const std::vector<Class>& classes() {
  static const std::vector<Class> classes = {
      {"DTMessage", {"selector", "argument", "portName"}},
      {"DTArchiveEntry", {"name", "folder", "index", "rsrcIndex", "size"}},
      {"DTTreeNode", {"object", "children"}},
      {"NSString", {"NS.string", "NS.bytes"}},
      {"NSData", {"NS.data", "NS.bytes"}},
      {"NSArray", {"NS.objects", "NS.object.0"}},
      {"NSSet", {"NS.objects", "NS.object.0"}},
      {"NSDictionary", {"NS.keys", "NS.objects"}},
      {"NSDate", {"NS.time"}},
      {"NSUUID", {"NS.uuidbytes"}},
      {"NSURL", {"NS.base", "NS.relative"}},
      {"NSError", {"NSCode", "NSDomain", "NSUserInfo"}},
      {"NSIndexPath", {"NSIndexPathLength", "NSIndexPathValue", "NSIndexPathData"}},
  };
  return classes;
}

// Each key with each kind, inline and behind a reference, the others absent; and each pair of kinds over two keys.
void wrongKinds(const Use& use) {
  for (const Class& ours : classes()) {
    for (const char* key : ours.keys) {
      for (const Kind& kind : kinds()) {
        const std::string name = std::string(ours.name) + "." + key + " " + kind.name;
        ArchiveBytes inlined;
        use(name, inlined.archive(inlined.instance(ours.name, {{key, kind.make(inlined)}})));
        ArchiveBytes referred;
        const auto uid = referred.slot(kind.make(referred));
        use(name + " by reference", referred.archive(referred.instance(ours.name, {{key, referred.uid(uid)}})));
      }
    }
    for (const Kind& first : kinds()) {
      for (const Kind& second : kinds()) {
        if (ours.keys.size() < 2) continue;
        ArchiveBytes both;
        ArchiveBytes::Fields fields{{ours.keys[0], first.make(both)}, {ours.keys[1], second.make(both)}};
        use(std::string(ours.name) + " " + first.name + " and " + second.name, both.archive(both.instance(ours.name, fields)));
      }
    }
    for (const char* key : ours.keys) {
      ArchiveBytes itself;
      use(std::string(ours.name) + "." + key + " is itself", itself.archive(itself.instance(ours.name, {{key, itself.uid(2)}})));
      ArchiveBytes holding;
      use(std::string(ours.name) + "." + key + " holds itself",
          holding.archive(holding.instance(ours.name, {{key, holding.uids({2, 2})}})));
    }
  }
}

void bentRecords(const Use& use) {
  for (const Kind& kind : kinds()) {
    ArchiveBytes version, objects, top, root, slot, className, classes, record;
    version.version = kind.make(version);
    use(std::string("version ") + kind.name, version.archive(0));
    objects.objects = kind.make(objects);
    use(std::string("objects ") + kind.name, objects.archive(1));
    top.top_ = kind.make(top);
    use(std::string("top ") + kind.name, top.archive(0));
    root.top_ = root.dictionary({{root.text("root"), kind.make(root)}});
    use(std::string("root ") + kind.name, root.archive(0));
    use(std::string("slot ") + kind.name, slot.archive(slot.slot(kind.make(slot))));
    const auto named = className.slot(className.object({{"$classname", kind.make(className)}}));
    use(std::string("class name ") + kind.name,
        className.archive(className.slot(className.object({{"$class", className.uid(named)}}))));
    const auto hinted =
        classes.slot(classes.object({{"$classname", classes.text("Unheard")}, {"$classhints", kind.make(classes)}}));
    use(std::string("class hints ") + kind.name, classes.archive(classes.slot(classes.object({{"$class", classes.uid(hinted)}}))));
    use(std::string("class ") + kind.name, record.archive(record.slot(record.object({{"$class", kind.make(record)}}))));
  }
}

void missing(const Use& use) {
  for (const Class& ours : classes()) {
    ArchiveBytes empty;
    use(std::string("empty ") + ours.name, empty.archive(empty.instance(ours.name, {})));
  }
  for (int without = 0; without < 8; ++without) {
    ArchiveBytes archive;
    archive.hasVersion = (without & 1) == 0;
    archive.hasObjects = (without & 2) == 0;
    archive.hasTop = (without & 4) == 0;
    use("archive without " + std::to_string(without), archive.archive(archive.slot(archive.text("x"))));
  }
  ArchiveBytes rootless, classless, nameless;
  use("no root", rootless.archive(std::nullopt));
  use("no class", classless.archive(classless.slot(classless.object({{"argument", classless.uid(0)}}))));
  const auto record = nameless.slot(nameless.object({{"$classes", nameless.array({nameless.text("DTMessage")})}}));
  use("no class name", nameless.archive(nameless.slot(nameless.object({{"$class", nameless.uid(record)}}))));
}

// Two and three objects that hold one another, by any of their keys; and class records that are their own.
void cycles(const Use& use) {
  for (const Class& ours : classes()) {
    for (const char* key : ours.keys) {
      for (std::uint32_t length = 2; length <= 3; ++length) {
        ArchiveBytes archive, listed;
        for (std::uint32_t i = 0; i < length; ++i) {
          const std::uint32_t next = 2 + 2 * ((i + 1) % length);  // each has its class record before it
          archive.instance(ours.name, {{key, archive.uid(next)}});
          listed.instance(ours.name, {{key, listed.uids({next, next})}});
        }
        use(std::string(ours.name) + "." + key + " in a ring of " + std::to_string(length), archive.archive(2));
        use(std::string(ours.name) + "." + key + " in a ring of lists of " + std::to_string(length), listed.archive(2));
      }
    }
  }
  ArchiveBytes own, each;
  use("its own class", own.archive(own.slot(own.object({{"$class", own.uid(1)}}))));
  each.slot(each.object({{"$class", each.uid(2)}}));
  each.slot(each.object({{"$classname", each.text("Unheard")}, {"$class", each.uid(1)}}));
  use("each other's class", each.archive(1));
}

void impossibleCounts(const Use& use) {
  const std::array<std::uint64_t, 7> counts{0x7fffffffffffffff, 0x7ffffffffffffff0, 0x8000000000000000, 0xffffffffffffffff,
                                            0x4000000000000000, 0x2000000000000000, 0xffffffff};
  for (const int marker : {0x4f, 0x5f, 0x6f, 0xaf, 0xcf, 0xdf}) {
    for (const std::uint64_t count : counts) {
      ArchiveBytes archive;
      Data object{static_cast<std::uint8_t>(marker), 0x13};
      for (int shift = 56; shift >= 0; shift -= 8) object.push_back(static_cast<std::uint8_t>(count >> shift));
      const auto bad = archive.raw(object);
      use("count of " + std::to_string(marker), archive.archive(archive.slot(bad)));
      ArchiveBytes inside;
      const auto elements = inside.raw(object);
      use("count inside " + std::to_string(marker), inside.archive(inside.instance("NSArray", {{"NS.objects", elements}})));
    }
  }
}

void deep(const Use& use) {
  for (const std::size_t levels : {2, 100, 4000, 4096, 4097, 50000}) {
    use("archives inside archives " + std::to_string(levels), archivesInsideArchives(levels));
  }
  for (const std::size_t levels : {500, 512, 513, 500000}) {
    use("arrays inside arrays " + std::to_string(levels), arraysInsideArrays(levels));
  }
  ArchiveBytes lists;
  auto inner = lists.array({});
  for (int i = 0; i < 500000; ++i) inner = lists.array({inner});
  use("containers inside containers", lists.archive(lists.instance("DTMessage", {{"other", inner}, {"argument", inner}})));
  ArchiveBytes urls;
  const auto url = urls.classRecord("NSURL");
  std::uint32_t base = 0;
  for (int i = 0; i < 100000; ++i) {
    base = urls.slot(urls.object({{"NS.base", urls.uid(base, 4)}, {"NS.relative", urls.uid(0)}, {"$class", urls.uid(url)}}));
  }
  use("bases of bases", urls.archive(base));
  ArchiveBytes nodes;
  const auto treeNode = nodes.classRecord("DTTreeNode");
  std::uint32_t object = 0;
  for (int i = 0; i < 100000; ++i) {
    object = nodes.slot(nodes.object({{"object", nodes.uid(object, 4)}, {"$class", nodes.uid(treeNode)}}));
  }
  use("nodes as objects of nodes", nodes.archive(object));
  // Archives inside archives through the name of an entry, which no reader of trees expects.
  Data named = node({});
  for (int i = 0; i < 600; ++i) {
    ArchiveBytes archive;
    const auto child = nodeSlot(archive, {archive.slot(archive.data(named))});
    const auto entry = archive.instance("DTArchiveEntry", {{"name", archive.uid(child, 2)}});
    named = archive.archive(archive.instance("DTTreeNode", {{"object", archive.uid(entry, 2)}}));
  }
  use("trees as names", named);
}

void multiplied(const Use& use) {
  for (const char* className : {"NSArray", "NSSet"}) {
    ArchiveBytes archive;
    auto inner = archive.slot(archive.integer(1));
    for (int i = 0; i < 64; ++i) inner = archive.collection(className, {inner, inner});
    use(std::string("doubled ") + className, archive.archive(inner));
  }
  Data child = node({});
  for (int i = 0; i < 40; ++i) child = node({child}, 2);
  use("doubled archives", child);
  const Data megabyte(1 << 20, 0x62);
  ArchiveBytes shared;
  const auto data = shared.slot(shared.data(megabyte));
  use("a megabyte of data many times", shared.archive(shared.collection("NSArray", std::vector<std::uint32_t>(100000, data))));
  ArchiveBytes texts;
  const auto text = texts.slot(texts.text(std::string(1 << 20, '\x01')));
  use("a megabyte of text many times", texts.archive(texts.collection("NSArray", std::vector<std::uint32_t>(100000, text))));
  use("a megabyte of garbage as many children", node({megabyte}, 100000));
  use("a large archive as many children", node({node({node({})}, 50000)}, 2000));
  ArchiveBytes references;
  const auto one = references.slot(references.integer(1));
  const auto uid = references.uid(one);
  const auto array = references.array(std::vector<ListBytes::Number>(5000000, uid));
  use("five million references to one", references.archive(references.instance("NSArray", {{"NS.objects", array}})));
  use("five million children that are none", [&] {
    ArchiveBytes archive;
    const auto noData = archive.uid(archive.slot(archive.integer(1)));
    const auto blobs = archive.array(std::vector<ListBytes::Number>(5000000, noData));
    const auto children = archive.instance("NSArray", {{"NS.objects", blobs}});
    return archive.archive(archive.instance("DTTreeNode", {{"children", archive.uid(children)}}));
  }());
}

void wide(const Use& use) {
  // One dictionary of many keys, read anew for each of many references.
  ArchiveBytes keys;
  std::vector<std::string> names;
  for (int i = 0; i < 50000; ++i) names.push_back("NS.object." + std::to_string(i));
  ArchiveBytes::Fields fields;
  const auto one = keys.uid(keys.slot(keys.integer(1)));
  for (const auto& name : names) fields.emplace_back(name, one);
  const auto numbered = keys.instance("NSArray", fields);
  use("one wide object many times", keys.archive(keys.collection("NSArray", std::vector<std::uint32_t>(20000, numbered))));
  ArchiveBytes hints;
  const std::vector<std::string_view> unheard(50000, "Unheard");
  const auto record = hints.classRecord("Unheard", unheard);
  const auto object = hints.slot(hints.object({{"$class", hints.uid(record)}}));
  use("one class of many hints", hints.archive(hints.collection("NSArray", std::vector<std::uint32_t>(20000, object))));
  ArchiveBytes paths;
  const auto packed = paths.instance("NSMutableData", {{"NS.data", paths.data(Data(4 << 20))}});
  use("an index path of four million levels",
      paths.archive(
          paths.instance("NSIndexPath", {{"NSIndexPathLength", paths.integer(4 << 20)}, {"NSIndexPathData", paths.uid(packed)}})));
}

}  // namespace

Data sampleArchive(const ArchiveForm& form) {
  ArchiveBytes archive;
  archive.isReversed = form.isReversed;
  archive.fill = form.fill;
  archive.offsetSize = form.offsetSize;
  archive.referenceSize = form.referenceSize;
  const auto uid = [&](std::uint32_t value) { return archive.uid(value, form.uidSize); };
  const auto integer = [&](std::uint64_t value) { return archive.integer(value, form.integerSize); };
  const auto text = archive.slot(archive.text("openArchive:portName:"));
  const auto wide = archive.slot(archive.wideText(u"\u00e9\u65e5"));
  const auto number = archive.slot(archive.integer(3, 16));
  const auto url = archive.instance("NSURL", {{"NS.base", uid(0)}, {"NS.relative", uid(text)}});
  const auto data = archive.instance("NSMutableData", {{"NS.data", archive.data(bytesOf({1, 2}))}});
  const auto path = archive.instance("NSIndexPath", {{"NSIndexPathLength", integer(2)}, {"NSIndexPathData", uid(data)}});
  const auto set = archive.collection("NSSet", {number, archive.slot(integer(7)), archive.slot(archive.real(1.5))});
  const auto tree = nodeSlot(archive, {archive.slot(archive.data(node({})))});
  const auto array = archive.collection("NSArray", {url, path, set, tree, number, text});
  const auto dictionary =
      archive.instance("NSDictionary", {{"NS.keys", archive.uids({wide})}, {"NS.objects", archive.uids({array})}});
  const auto error =
      archive.instance("NSError", {{"NSCode", integer(1)}, {"NSDomain", uid(text)}, {"NSUserInfo", uid(dictionary)}});
  return archive.archive(
      archive.instance("DTMessage", {{"selector", uid(text)}, {"argument", uid(error)}, {"portName", uid(wide)}}));
}

// Put together from the outside in: its size is linear in the levels.
Data archivesInsideArchives(std::size_t levels) {
  ArchiveBytes level;
  level.offsetSize = 4;
  const auto blob = level.slot(level.data({}));
  const Data pattern = level.archive(nodeSlot(level, {blob}));
  const std::size_t tableSize = level.raw({}) * 4;
  const std::size_t table = pattern.size() - 32 - tableSize;
  // The data moves to the end of the objects, so that what stands before it and what stands behind it are two pieces.
  const std::size_t blobNumber = 1;
  std::vector<std::uint64_t> lengths{node({}).size()};
  const std::size_t head = table + 10;
  while (lengths.size() <= levels) lengths.push_back(head + lengths.back() + tableSize + 32);
  Data bytes;
  bytes.reserve(lengths.back());
  const auto put = [&bytes](std::uint64_t value, unsigned size) {
    for (unsigned i = size; i-- > 0;) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  };
  for (std::size_t i = levels; i-- > 0;) {
    bytes.insert(bytes.end(), pattern.begin(), pattern.begin() + static_cast<std::ptrdiff_t>(table));
    put(0x4f13, 2);
    put(lengths[i], 8);
  }
  const Data innermost = node({});
  bytes.insert(bytes.end(), innermost.begin(), innermost.end());
  for (std::size_t i = 0; i < levels; ++i) {
    const std::size_t start = bytes.size();
    bytes.insert(bytes.end(), pattern.begin() + static_cast<std::ptrdiff_t>(table), pattern.end());
    for (unsigned byte = 0; byte < 4; ++byte) {
      bytes[start + 4 * blobNumber + byte] = static_cast<std::uint8_t>(table >> (8 * (3 - byte)));
    }
    bytes.erase(bytes.end() - 8, bytes.end());
    put(head + lengths[i], 8);
  }
  return bytes;
}

Data arraysInsideArrays(std::size_t levels) {
  ArchiveBytes archive;
  const auto record = archive.classRecord("NSArray");
  auto inner = archive.slot(archive.integer(1));
  for (std::size_t i = 0; i < levels; ++i) {
    inner = archive.slot(archive.object({{"NS.objects", archive.uids({inner})}, {"$class", archive.uid(record)}}));
  }
  return archive.archive(inner);
}

void forEachSmallHostileArchive(const Use& use) {
  bent(use);
  bentTrailers(use);
  bentMarkers(use);
  wrongKinds(use);
  bentRecords(use);
  missing(use);
  cycles(use);
  impossibleCounts(use);
}

void forEachLargeHostileArchive(const Use& use) {
  deep(use);
  multiplied(use);
  wide(use);
}
