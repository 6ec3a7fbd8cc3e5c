// The platform's standard image names, spelled as there. Each is one array for the whole program, as the
// folder's name is told from a file type by identity.
#pragma once

namespace platform {

inline constexpr char ImageNameActionTemplate[] = "NSActionTemplate";
inline constexpr char ImageNameAddTemplate[] = "NSAddTemplate";
inline constexpr char ImageNameApplicationIcon[] = "NSApplicationIcon";
inline constexpr char ImageNameCaution[] = "NSCaution";
inline constexpr char ImageNameFolder[] = "NSFolder";
inline constexpr char ImageNameGoLeftTemplate[] = "NSGoLeftTemplate";
inline constexpr char ImageNameGoRightTemplate[] = "NSGoRightTemplate";
inline constexpr char ImageNameMenuOnStateTemplate[] = "NSMenuOnStateTemplate";
inline constexpr char ImageNameRemoveTemplate[] = "NSRemoveTemplate";
inline constexpr char ImageNameStopProgressFreestandingTemplate[] = "NSStopProgressFreestandingTemplate";
inline constexpr char ImageNameStopProgressTemplate[] = "NSStopProgressTemplate";
inline constexpr char ImageNameUser[] = "NSUser";
inline constexpr char ImageNameUserGroup[] = "NSUserGroup";

}  // namespace platform
