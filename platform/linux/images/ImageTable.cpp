#include "platform/linux/images/ImageTable.h"

#include <algorithm>
#include <array>

#include "platform/ImageNames.h"

namespace platform::native {
namespace {

constexpr const char* action[] = {"emblem-system-symbolic"};
constexpr const char* add[] = {"list-add-symbolic"};
constexpr const char* caution[] = {"dialog-warning"};
constexpr const char* folder[] = {"folder", "inode-directory"};
constexpr const char* goLeft[] = {"go-previous-symbolic"};
constexpr const char* goRight[] = {"go-next-symbolic"};
constexpr const char* menuOnState[] = {"object-select-symbolic"};
constexpr const char* remove[] = {"list-remove-symbolic"};
constexpr const char* stopFreestanding[] = {"process-stop-symbolic"};
constexpr const char* stop[] = {"window-close-symbolic"};
constexpr const char* user[] = {"avatar-default-symbolic"};
constexpr const char* userGroup[] = {"system-users-symbolic"};

constexpr NamedImage named[] = {
    {ImageNameActionTemplate, action, "dovetail-ellipsis-circle-symbolic", 16, true},
    {ImageNameAddTemplate, add, "dovetail-plus-symbolic", 16, true},
    {ImageNameApplicationIcon, {}, "dovetail-sync", 32, false},
    {ImageNameCaution, caution, "dovetail-exclamationmark-triangle-symbolic", 32, false},
    {ImageNameFolder, folder, "dovetail-generic-folder", 32, false},
    {ImageNameGoLeftTemplate, goLeft, "dovetail-chevron-backward-symbolic", 16, true},
    {ImageNameGoRightTemplate, goRight, "dovetail-chevron-forward-symbolic", 16, true},
    {ImageNameMenuOnStateTemplate, menuOnState, "dovetail-checkmark-symbolic", 16, true},
    {ImageNameRemoveTemplate, remove, "dovetail-minus-symbolic", 16, true},
    {ImageNameStopProgressFreestandingTemplate, stopFreestanding, "dovetail-xmark-circle-fill-symbolic", 16, true},
    {ImageNameStopProgressTemplate, stop, "dovetail-xmark-symbolic", 16, true},
    {ImageNameUser, user, "dovetail-user-symbolic", 32, false},
    {ImageNameUserGroup, userGroup, "dovetail-user-group-symbolic", 32, false},

    {"ArchiveImage", {}, "dovetail-archive-image-symbolic", 16, true},
    {"Base10Image", {}, "dovetail-base10-image-symbolic", 16, true},
    {"Base2Image", {}, "dovetail-base2-image-symbolic", 16, true},
    {"DiscImage", {}, "dovetail-disc-image-symbolic", 16, true},
    {"DualPaneImage", {}, "dovetail-dual-pane-image-symbolic", 16, true},
    {"GeneralImage", {}, "dovetail-general-image-symbolic", 16, true},
    {"KeyboardImage", {}, "dovetail-keyboard-image-symbolic", 16, true},
    {"MenuImage", {}, "dovetail-menu-image-symbolic", 16, true},
    {"PauseImage", {}, "dovetail-pause-image-symbolic", 16, true},
    {"PlayImage", {}, "dovetail-play-image-symbolic", 16, true},
    {"RulerImage", {}, "dovetail-ruler-image-symbolic", 16, true},
    {"StatusItemImage", {}, "dovetail-status-item-image-symbolic", 16, true},
    {"SwapImage", {}, "dovetail-swap-image-symbolic", 16, true},
    {"TerminalImage", {}, "dovetail-terminal-image-symbolic", 16, true},
    {"TrashImage", {}, "dovetail-trash-image-symbolic", 16, true},
    {"UpdateImage", {}, "dovetail-update-image-symbolic", 16, true},
};

constexpr NamedImage symbols[] = {
    {"10.square", {}, "dovetail-10-square-symbolic", 16, true},
    {"2.square", {}, "dovetail-2-square-symbolic", 16, true},
    {"arrow.left.arrow.right", {}, "dovetail-arrow-left-arrow-right-symbolic", 16, true},
    {"arrow.triangle.2.circlepath.circle", {}, "dovetail-arrow-triangle-2-circlepath-circle-symbolic", 16, true},
    {"checkmark", {}, "dovetail-checkmark-symbolic", 16, true},
    {"chevron.backward", {}, "dovetail-chevron-backward-symbolic", 16, true},
    {"chevron.forward", {}, "dovetail-chevron-forward-symbolic", 16, true},
    {"ellipsis.circle", {}, "dovetail-ellipsis-circle-symbolic", 16, true},
    {"exclamationmark.triangle", {}, "dovetail-exclamationmark-triangle-symbolic", 16, true},
    {"filemenu.and.cursorarrow", {}, "dovetail-filemenu-and-cursorarrow-symbolic", 16, true},
    {"folder", {}, "dovetail-folder-symbolic", 16, true},
    {"gearshape", {}, "dovetail-gearshape-symbolic", 16, true},
    {"keyboard", {}, "dovetail-keyboard-symbolic", 16, true},
    {"minus", {}, "dovetail-minus-symbolic", 16, true},
    {"opticaldisc", {}, "dovetail-opticaldisc-symbolic", 16, true},
    {"pause.circle.fill", {}, "dovetail-pause-circle-fill-symbolic", 16, true},
    {"person.2.circle", {}, "dovetail-person-2-circle-symbolic", 16, true},
    {"person.circle", {}, "dovetail-person-circle-symbolic", 16, true},
    {"play.circle.fill", {}, "dovetail-play-circle-fill-symbolic", 16, true},
    {"plus", {}, "dovetail-plus-symbolic", 16, true},
    {"rectangle.split.2x1", {}, "dovetail-rectangle-split-2x1-symbolic", 16, true},
    {"ruler", {}, "dovetail-ruler-symbolic", 16, true},
    {"shippingbox", {}, "dovetail-shippingbox-symbolic", 16, true},
    {"terminal", {}, "dovetail-terminal-symbolic", 16, true},
    {"trash", {}, "dovetail-trash-symbolic", 16, true},
    {"xmark", {}, "dovetail-xmark-symbolic", 16, true},
    {"xmark.circle.fill", {}, "dovetail-xmark-circle-fill-symbolic", 16, true},
};

const NamedImage* find(std::span<const NamedImage> table, std::string_view name) {
  const auto row = std::find_if(table.begin(), table.end(), [&](const NamedImage& each) { return each.name == name; });
  return row == table.end() ? nullptr : &*row;
}

}  // namespace

const NamedImage* namedImage(std::string_view name) { return find(named, name); }
const NamedImage* symbolImage(std::string_view name) { return find(symbols, name); }

}  // namespace platform::native
