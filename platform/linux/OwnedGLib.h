// GLib values that release themselves.
#pragma once

#include <gio/gio.h>

#include <memory>

namespace platform::native {

template <auto release>
struct Release {
  template <typename Value>
  void operator()(Value* value) const {
    release(value);
  }
};

template <typename Value>
using OwnedObject = std::unique_ptr<Value, Release<g_object_unref>>;
using OwnedVariant = std::unique_ptr<GVariant, Release<g_variant_unref>>;
using OwnedText = std::unique_ptr<char, Release<g_free>>;
using OwnedTexts = std::unique_ptr<char*, Release<g_strfreev>>;  ///< With a null behind the last.
using OwnedKeyFile = std::unique_ptr<GKeyFile, Release<g_key_file_unref>>;
using OwnedError = std::unique_ptr<GError, Release<g_error_free>>;

}  // namespace platform::native
