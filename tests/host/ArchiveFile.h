// Real archives made by libarchive's writer.
#pragma once

#include <archive.h>
#include <archive_entry.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

/// One entry to write. A trailing slash of the path makes a folder; a target makes a symbolic or a hard link.
struct WrittenEntry {
  std::string path;
  std::string content = {};
  std::string symbolicLink = {};
  std::string hardLink = {};
};

struct WrittenAs {
  int format = ARCHIVE_FORMAT_TAR_PAX_RESTRICTED;
  int filter = ARCHIVE_FILTER_NONE;
  std::string options = {};
  std::string passphrase = {};
};

class ArchiveFile {
 public:
  ArchiveFile(const std::string& path, const WrittenAs& how) : writer_(archive_write_new()) {
    setFormat(how.format);
    check(archive_write_add_filter(writer_, how.filter));
    if (!how.passphrase.empty()) check(archive_write_set_passphrase(writer_, how.passphrase.c_str()));
    if (!how.options.empty()) check(archive_write_set_options(writer_, how.options.c_str()));
    check(archive_write_open_filename(writer_, path.c_str()));
  }
  ~ArchiveFile() { archive_write_free(writer_); }
  ArchiveFile(const ArchiveFile&) = delete;

  void add(const WrittenEntry& written) {
    const bool isFolder = written.path.ends_with('/');
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, written.path.c_str());
    archive_entry_set_filetype(entry, isFolder ? AE_IFDIR : written.symbolicLink.empty() ? AE_IFREG : AE_IFLNK);
    archive_entry_set_perm(entry, isFolder ? 0755 : 0644);
    archive_entry_set_size(entry, static_cast<la_int64_t>(written.content.size()));
    archive_entry_set_mtime(entry, 1'700'000'000, 0);
    if (!written.symbolicLink.empty()) archive_entry_set_symlink(entry, written.symbolicLink.c_str());
    if (!written.hardLink.empty()) archive_entry_set_hardlink(entry, written.hardLink.c_str());
    check(archive_write_header(writer_, entry));
    if (!written.content.empty() && archive_write_data(writer_, written.content.data(), written.content.size()) < 0)
      check(ARCHIVE_FATAL);
    archive_entry_free(entry);
  }
  void close() { check(archive_write_close(writer_)); }

  static void write(const std::string& path, const WrittenAs& how, const std::vector<WrittenEntry>& entries) {
    ArchiveFile file(path, how);
    for (const WrittenEntry& entry : entries) file.add(entry);
    file.close();
  }

 private:
  void setFormat(int format) {
    // The one format that the library cannot set by its code.
    check(format == ARCHIVE_FORMAT_AR_GNU ? archive_write_set_format_ar_svr4(writer_) : archive_write_set_format(writer_, format));
  }
  void check(int status) {
    if (status < ARCHIVE_WARN) throw std::runtime_error(archive_error_string(writer_));
  }

  archive* writer_;
};
