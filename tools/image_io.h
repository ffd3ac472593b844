// Reading and writing PNG and TIFF files for the lumomath tool.
#pragma once

#include <cstdio>
#include <string>

#include "image.h"

namespace lumotool {

enum class FileFormat { kPng, kTiff };

// The format an output path asks for, by extension (.png, .tif, .tiff; any case).
FileFormat FormatFromPath(const std::string& path);

// Reads a PNG or TIFF file, recognised by its first bytes, whatever its name.
Image ReadImage(const std::string& path);

// Writes to a temporary file beside `path` and renames it into place, so a
// failed write never leaves a partial file under the final name.
void WriteImage(const std::string& path, const Image& image);

// Format back ends. `name` only goes into messages.
Image ReadPng(std::FILE* file, const std::string& name);
void WritePng(std::FILE* file, const Image& image, const std::string& name);
Image ReadTiff(const std::string& path);
void WriteTiff(int fd, const Image& image, const std::string& name);

}  // namespace lumotool
