#include "platform/linux/settings/SettingsValue.h"

#include <algorithm>
#include <limits>

namespace platform::native {
namespace {

Object objectOfNormalVariant(GVariant* value);

Object textObject(GVariant* value) {
  gsize length = 0;
  const char* text = g_variant_get_string(value, &length);
  return g_utf8_validate(text, static_cast<gssize>(length), nullptr) ? Object(std::string(text, length)) : Object();
}

Data dataOf(GVariant* value) {
  gsize length = 0;
  const auto* bytes = static_cast<const std::uint8_t*>(g_variant_get_fixed_array(value, &length, 1));
  return length > 0 ? Data(bytes, bytes + length) : Data();
}

Object dictionaryObject(GVariant* value) {
  Dictionary dictionary;
  const gsize count = g_variant_n_children(value);
  for (gsize i = 0; i < count; ++i) {
    const OwnedVariant entry(g_variant_get_child_value(value, i));
    const OwnedVariant key(g_variant_get_child_value(entry.get(), 0));
    const OwnedVariant element(g_variant_get_child_value(entry.get(), 1));
    Object object = objectOfNormalVariant(element.get());
    if (object.isNil()) return {};
    dictionary.add(g_variant_get_string(key.get(), nullptr), std::move(object));
  }
  return dictionary;
}

Object arrayObject(GVariant* value) {
  Array array;
  const gsize count = g_variant_n_children(value);
  array.reserve(count);
  for (gsize i = 0; i < count; ++i) {
    const OwnedVariant element(g_variant_get_child_value(value, i));
    array.push_back(objectOfNormalVariant(element.get()));
    if (array.back().isNil()) return {};
  }
  return array;
}

Object containerObject(GVariant* value) {
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_BYTESTRING)) return dataOf(value);
  if (g_variant_is_of_type(value, G_VARIANT_TYPE("a{s*}"))) return dictionaryObject(value);
  if (g_variant_is_of_type(value, G_VARIANT_TYPE("a{?*}"))) return {};
  return arrayObject(value);
}

Object objectOfNormalVariant(GVariant* value) {
  switch (g_variant_classify(value)) {
    case G_VARIANT_CLASS_BOOLEAN: return g_variant_get_boolean(value) != FALSE;
    case G_VARIANT_CLASS_BYTE: return Integer::ofUnsigned(g_variant_get_byte(value));
    case G_VARIANT_CLASS_INT16: return Integer::ofSigned(g_variant_get_int16(value));
    case G_VARIANT_CLASS_UINT16: return Integer::ofUnsigned(g_variant_get_uint16(value));
    case G_VARIANT_CLASS_INT32: return Integer::ofSigned(g_variant_get_int32(value));
    case G_VARIANT_CLASS_UINT32: return Integer::ofUnsigned(g_variant_get_uint32(value));
    case G_VARIANT_CLASS_INT64: return Integer::ofSigned(g_variant_get_int64(value));
    case G_VARIANT_CLASS_UINT64: return Integer::ofUnsigned(g_variant_get_uint64(value));
    case G_VARIANT_CLASS_DOUBLE: return g_variant_get_double(value);
    case G_VARIANT_CLASS_STRING:
    case G_VARIANT_CLASS_OBJECT_PATH:
    case G_VARIANT_CLASS_SIGNATURE: return textObject(value);
    case G_VARIANT_CLASS_VARIANT: return objectOfNormalVariant(OwnedVariant(g_variant_get_variant(value)).get());
    case G_VARIANT_CLASS_ARRAY: return containerObject(value);
    default: return {};
  }
}

// The functions below give floating references, or null.

GVariant* floatingVariant(const Object& object);

GVariant* integerVariant(Integer number) {
  const std::int64_t value = number.signedValue();
  if (!number.isNegative && value < 0) return g_variant_new_uint64(number.bits);
  const bool isShort = value >= std::numeric_limits<gint32>::min() && value <= std::numeric_limits<gint32>::max();
  return isShort ? g_variant_new_int32(static_cast<gint32>(value)) : g_variant_new_int64(value);
}

GVariant* textVariant(const std::string& text) {
  if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) return nullptr;
  return g_variant_new_string(text.c_str());
}

GVariant* dataVariant(const Data& data) { return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, data.data(), data.size(), 1); }

GVariant* dictionaryVariant(const Dictionary& dictionary) {
  GVariantBuilder builder;
  g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
  for (const auto& [key, value] : dictionary.entries) {
    const auto* name = key.get<std::string>();
    GVariant* const keyVariant = name ? textVariant(*name) : nullptr;
    GVariant* const element = keyVariant ? floatingVariant(value) : nullptr;
    if (!element) {
      if (keyVariant) g_variant_unref(g_variant_ref_sink(keyVariant));
      g_variant_builder_clear(&builder);
      return nullptr;
    }
    g_variant_builder_add_value(&builder, g_variant_new_dict_entry(keyVariant, g_variant_new_variant(element)));
  }
  return g_variant_builder_end(&builder);
}

// The one type of all elements that an array may have as its own; null for those that need a box each.
const GVariantType* commonType(const std::vector<OwnedVariant>& elements) {
  if (elements.empty()) return nullptr;
  const GVariantType* type = g_variant_get_type(elements.front().get());
  for (const char* allowed : {"i", "x", "s", "b", "ay"}) {
    if (!g_variant_type_equal(type, G_VARIANT_TYPE(allowed))) continue;
    const auto isSame = [&](const OwnedVariant& element) { return g_variant_is_of_type(element.get(), type); };
    return std::ranges::all_of(elements, isSame) ? type : nullptr;
  }
  return nullptr;
}

// Whole numbers of both widths become all of the wide one.
void widen(std::vector<OwnedVariant>& elements) {
  const auto isOf = [](const char* type) {
    return [type](const OwnedVariant& element) { return g_variant_is_of_type(element.get(), G_VARIANT_TYPE(type)); };
  };
  const bool areSigned = std::ranges::all_of(elements, [&](const auto& e) { return isOf("i")(e) || isOf("x")(e); });
  if (!areSigned || std::ranges::none_of(elements, isOf("x"))) return;
  for (OwnedVariant& element : elements) {
    if (!isOf("i")(element)) continue;
    element.reset(g_variant_ref_sink(g_variant_new_int64(g_variant_get_int32(element.get()))));
  }
}

GVariant* arrayVariant(const Array& array) {
  std::vector<OwnedVariant> elements;
  for (const Object& object : array) {
    elements.push_back(variantOfObject(object));
    if (!elements.back()) return nullptr;
  }
  widen(elements);
  const GVariantType* type = commonType(elements);
  std::vector<GVariant*> children;
  for (const OwnedVariant& element : elements) {
    children.push_back(type ? element.get() : g_variant_new_variant(element.get()));
  }
  return g_variant_new_array(type ? type : G_VARIANT_TYPE_VARIANT, children.data(), children.size());
}

GVariant* floatingVariant(const Object& object) {
  if (const auto* flag = object.get<bool>()) return g_variant_new_boolean(*flag);
  if (const auto* number = object.get<Integer>()) return integerVariant(*number);
  if (const auto* number = object.get<double>()) return g_variant_new_double(*number);
  if (const auto* text = object.get<std::string>()) return textVariant(*text);
  if (const auto* data = object.get<Data>()) return dataVariant(*data);
  if (const auto* array = object.get<Array>()) return arrayVariant(*array);
  if (const auto* dictionary = object.get<Dictionary>()) return dictionaryVariant(*dictionary);
  return nullptr;
}

}  // namespace

Object objectOfVariant(GVariant* value) {
  // Only a value in normal form is read: the parts of another one may overlap and be many more than its
  // bytes.
  return value && g_variant_is_normal_form(value) ? objectOfNormalVariant(value) : Object();
}

OwnedVariant variantOfObject(const Object& object) {
  GVariant* const value = floatingVariant(object);
  return OwnedVariant(value ? g_variant_ref_sink(value) : nullptr);
}

}  // namespace platform::native
