// Writes what the catalogue of images and the icon theme yield as files, for people to look at.
#pragma once

#include <string>

#include "platform/Graphics.h"
#include "platform/SymbolImages.h"
#include "platform/Workspace.h"

/// Writes into the folder, which is made where it is missing, each image of the catalogue in both branches,
/// the button's image, the application's icon and the icons of some file types, each as a PNG of 32 pixels a
/// side, and "sheet.png": all of them at 16 and 32 pixels and 16 pixels enlarged, on light and on dark.
/// Returns the exit status: 1, with a line on standard error, when something cannot be written.
[[nodiscard]] int writeImages(const std::string& folder, platform::Workspace& workspace, platform::SymbolImages& symbolImages,
                              platform::Graphics& graphics);
