#include "host/ListingService.h"

#include <archive.h>
#include <archive_entry.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "host/ZipNames.h"

namespace {

// The sanitizers' shadow memory alone is beyond any limit.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isMemoryLimited = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool isMemoryLimited = false;
#else
constexpr bool isMemoryLimited = true;
#endif
#else
constexpr bool isMemoryLimited = true;
#endif

using ReadArchive = std::unique_ptr<archive, decltype(&archive_read_free)>;

constexpr std::size_t blockLength = 64 * 1024;
/// An empty tar is one record of zeros; writers make them of 1 KiB to a few hundred.
constexpr std::size_t longestEmptyTar = 1024 * 1024;

// Only what the library decodes itself: some of its filters would start programs. Text forms (uuencode, mtree) and the empty
// file are left out on purpose, as is "raw": a compressed file that holds no archive is no archive.
void supportFilters(archive* reader) {
  archive_read_support_filter_bzip2(reader);
  archive_read_support_filter_compress(reader);
  archive_read_support_filter_gzip(reader);
  archive_read_support_filter_lz4(reader);
  archive_read_support_filter_lzip(reader);
  archive_read_support_filter_lzma(reader);
  archive_read_support_filter_rpm(reader);
  archive_read_support_filter_xz(reader);
  archive_read_support_filter_zstd(reader);
}

void supportFormats(archive* reader) {
  archive_read_support_format_7zip(reader);
  archive_read_support_format_ar(reader);
  archive_read_support_format_cab(reader);
  archive_read_support_format_cpio(reader);
  archive_read_support_format_iso9660(reader);
  archive_read_support_format_lha(reader);
  archive_read_support_format_rar(reader);
  archive_read_support_format_rar5(reader);
  archive_read_support_format_tar(reader);
  archive_read_support_format_warc(reader);
  archive_read_support_format_xar(reader);
  archive_read_support_format_zip(reader);
}

ReadArchive newReader() {
  ReadArchive reader(archive_read_new(), &archive_read_free);
  if (!reader) throw std::bad_alloc();
  supportFilters(reader.get());
  return reader;
}

void appendUTF8(std::string& out, char32_t point) {
  if (point > 0x10FFFF || (point >= 0xD800 && point < 0xE000)) point = 0xFFFD;
  if (point < 0x80) {
    out.push_back(static_cast<char>(point));
    return;
  }
  const int following = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
  static constexpr unsigned char leads[] = {0, 0xC0, 0xE0, 0xF0};
  out.push_back(static_cast<char>(leads[following] | point >> (6 * following)));
  for (int i = following - 1; i >= 0; --i) out.push_back(static_cast<char>(0x80 | (point >> (6 * i) & 0x3F)));
}

// Names that the format declares as Unicode come as UTF-8, all others as their bytes. Empty for one that is declared so and is not.
std::string pathOf(archive_entry* entry) {
  if (const char* bytes = archive_entry_pathname(entry)) return bytes;
  std::string path;
  if (const wchar_t* wide = archive_entry_pathname_w(entry))
    for (; *wide; ++wide) appendUTF8(path, static_cast<char32_t>(*wide));
  return path;
}

std::uint64_t sizeOf(archive_entry* entry) {
  return archive_entry_size_is_set(entry) ? static_cast<std::uint64_t>(std::max<la_int64_t>(archive_entry_size(entry), 0)) : 0;
}

// The library takes any file that starts with a block of zeros for an empty tar, many a disk image among them.
bool isNothingButZeros(int file) {
  if (lseek(file, 0, SEEK_SET) != 0) return false;
  ReadArchive reader = newReader();
  archive_read_support_format_raw(reader.get());
  archive_entry* entry = nullptr;
  if (archive_read_open_fd(reader.get(), file, blockLength) != ARCHIVE_OK ||
      archive_read_next_header(reader.get(), &entry) != ARCHIVE_OK)
    return false;
  std::vector<char> bytes(longestEmptyTar + 1);
  const la_ssize_t length = archive_read_data(reader.get(), bytes.data(), bytes.size());
  return length >= 1024 && static_cast<std::size_t>(length) <= longestEmptyTar &&
         std::all_of(bytes.begin(), bytes.begin() + length, [](char byte) { return byte == 0; });
}

// A tar without a single header, not even a global one, bears no more precise format than this.
bool isTarWithoutHeaders(archive* reader) { return archive_format(reader) == ARCHIVE_FORMAT_TAR; }

// Two bytes are all that tells the old binary forms of cpio; without a sound end it is rather something else.
bool isKnownByTwoBytes(archive* reader) {
  const int format = archive_format(reader);
  return format == ARCHIVE_FORMAT_CPIO_BIN_LE || format == ARCHIVE_FORMAT_CPIO_BIN_BE;
}

/// One file's frames on their way out.
class ListingWriter {
 public:
  ListingWriter(const ListingBounds& bounds, int file, FrameSink& sink) : bounds_(bounds), file_(file), sink_(sink) {}

  bool isFull() const { return !reason_.empty(); }
  bool hasEntries() const { return entries_ > 0; }
  const std::string& reason() const { return reason_; }

  void addEntry(archive* reader, archive_entry* entry) {
    std::string path = pathOf(entry);
    if (path.empty() && archive_format(reader) == ARCHIVE_FORMAT_ZIP) path = nextZipName();
    if (path.empty() || path.size() > Listing::maximumPathLength) {
      ++leftOut_;
      return;
    }
    if (entries_ == bounds_.entries || path.size() > bounds_.pathBytes - pathBytes_) {
      reason_ = "it holds more entries than are listed";
      ++leftOut_;
      return;
    }
    ++entries_;
    pathBytes_ += path.size();
    const bool isFolder = archive_entry_filetype(entry) == AE_IFDIR;
    appendListingFrame(frames_, isFolder ? ListingFrame::folder : ListingFrame::file, isFolder ? 0 : sizeOf(entry), path);
    if (frames_.size() >= blockLength) flush();
  }

  void end(ListingFrame kind, std::string_view text = {}) {
    appendListingFrame(frames_, kind, leftOut_, text);
    flush();
  }

 private:
  std::string nextZipName() {
    if (!zipNames_) zipNames_ = zipNamesThatAreNotUTF8(file_);
    return namesTaken_ < zipNames_->size() ? (*zipNames_)[namesTaken_++] : std::string();
  }
  void flush() {
    if (!sink_.write(frames_)) reason_ = "the host has gone";
    frames_.clear();
  }

  ListingBounds bounds_;
  int file_;
  FrameSink& sink_;
  std::optional<std::vector<std::string>> zipNames_;  // read when the first one is missing
  std::size_t namesTaken_ = 0;
  std::uint64_t leftOut_ = 0;
  std::uint64_t entries_ = 0;
  std::uint64_t pathBytes_ = 0;
  std::string frames_;
  std::string reason_;
};

// Answers the library's last status: ARCHIVE_EOF at a sound end.
int addEntries(archive* reader, ListingWriter& writer) {
  archive_entry* entry = nullptr;
  int status = archive_read_next_header(reader, &entry);
  while (status == ARCHIVE_OK || status == ARCHIVE_WARN) {
    writer.addEntry(reader, entry);
    if (writer.isFull()) break;
    status = archive_read_next_header(reader, &entry);
  }
  return status;
}

void listOpenArchive(archive* reader, int file, ListingWriter& writer) {
  const int status = addEntries(reader, writer);
  if (writer.isFull()) return writer.end(ListingFrame::partial, writer.reason());
  if (status == ARCHIVE_EOF) {
    const bool isArchive = writer.hasEntries() || !isTarWithoutHeaders(reader) || isNothingButZeros(file);
    return writer.end(isArchive ? ListingFrame::whole : ListingFrame::noArchive);
  }
  if (!writer.hasEntries() || isKnownByTwoBytes(reader)) return writer.end(ListingFrame::noArchive);
  const char* text = archive_error_string(reader);
  writer.end(ListingFrame::partial, text ? text : "it is damaged");
}

class SocketSink final : public FrameSink {
 public:
  explicit SocketSink(int socket) : socket_(socket) {}
  bool write(std::string_view frames) override {
    while (!frames.empty() && !isBroken_) {
      const ssize_t written = send(socket_, frames.data(), frames.size(), MSG_NOSIGNAL);
      if (written >= 0)
        frames.remove_prefix(static_cast<std::size_t>(written));
      else
        isBroken_ = errno != EINTR;
    }
    return !isBroken_;
  }

 private:
  int socket_;
  bool isBroken_ = false;
};

/// The next file to list, or -1 once the host has closed the socket.
int receiveFile(int socket) {
  char byte = 0;
  iovec part{&byte, 1};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  ssize_t received = 0;
  do received = recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
  while (received < 0 && errno == EINTR);
  const cmsghdr* head = received == 1 ? CMSG_FIRSTHDR(&message) : nullptr;
  if (!head || head->cmsg_level != SOL_SOCKET || head->cmsg_type != SCM_RIGHTS) return -1;
  int file = -1;
  std::memcpy(&file, CMSG_DATA(head), sizeof file);
  return file;
}

void takeLimits(std::uint64_t memoryBytes) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  prctl(PR_SET_NAME, "dovetail-list");
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  setrlimit(RLIMIT_FSIZE, &none);
  const rlimit memory{memoryBytes, memoryBytes};
  if (isMemoryLimited) setrlimit(RLIMIT_AS, &memory);
}

}  // namespace

void listArchive(int file, const ListingBounds& bounds, FrameSink& sink) {
  ListingWriter writer(bounds, file, sink);
  ReadArchive reader = newReader();
  supportFormats(reader.get());
  if (archive_read_open_fd(reader.get(), file, blockLength) != ARCHIVE_OK) return writer.end(ListingFrame::noArchive);
  listOpenArchive(reader.get(), file, writer);
}

int runListingService(int socket, const ListingBounds& bounds, std::uint64_t memoryBytes) {
  // The library hands out names in the locale's charset; file names and times need nothing else of it.
  if (!std::setlocale(LC_CTYPE, "C.UTF-8")) std::setlocale(LC_CTYPE, "en_US.UTF-8");
  takeLimits(memoryBytes);
  SocketSink sink(socket);
  for (int file = receiveFile(socket); file >= 0; file = receiveFile(socket)) {
    listArchive(file, bounds, sink);
    close(file);
  }
  return 0;
}
