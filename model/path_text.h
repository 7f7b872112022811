/// \file path_text.h
/// Names of files on their way between the file system, where they are bytes, and the interface, where they are text.
#pragma once

#include <QString>
#include <QUrl>

#include <filesystem>
#include <string_view>

namespace ovrel {

/// For the eye alone: bytes that are not UTF-8 become U+FFFD, so the file may not be found again by this text. A byte
/// order mark stays.
QString textOf(std::string_view bytes);
QString textOf(const std::filesystem::path& path);

std::filesystem::path pathOf(const QString& text);

/// The file that a "file" address names, byte for byte; unlike QUrl::toLocalFile, names that are not UTF-8 included.
std::filesystem::path pathOf(const QUrl& file);

/// The "file" address of an absolute path; unlike QUrl::fromLocalFile, of names that are not UTF-8 as well.
QUrl urlOf(const std::filesystem::path& path);

} // namespace ovrel
