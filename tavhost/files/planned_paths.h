#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "tavhost/files/disk.h"

// Paths as a dry run tells them apart: by how they are written, from the root on.
namespace planned_paths {

std::filesystem::path ToPath(const std::string& text);
std::string ToText(const std::filesystem::path& path);

// Absolute, in the system's style, without `.`, `..` and separators that are there twice.
std::string Full(std::string_view path);
// A whole path as its folder and its name.
std::pair<std::string, std::string> Parted(const std::string& full);
bool IsEqual(std::string_view a, std::string_view b);
// Whether `path` is `folder` or lies in it; both are whole.
bool IsWithin(std::string_view path, std::string_view folder);
bool EndsInSeparator(std::string_view text);
bool MeansDirectory(disk::Name name);
// A path as a failure tells it: with the separator at its end, which makes it a directory's.
std::string Told(disk::Name name);
std::string Join(const std::string& folder, const std::string& name);
// How far two paths are alike, up to a separator or an end of both.
std::size_t AlikeUpTo(const std::string& a, const std::string& b);

}  // namespace planned_paths
