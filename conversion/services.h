/// \file services.h
/// What a conversion asks of the platform, gathered so that a test can hand in its own.
#pragma once

#include "platform/file_system.h"
#include "platform/image_destination.h"
#include "platform/image_source.h"
#include "platform/memory.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ovrel {

/// The platform's own services unless others are set. `files` must live as long as this.
struct Services {
    FileSystem* files = &FileSystem::native();
    std::function<std::unique_ptr<ImageSource>(const std::filesystem::path&)> openImage = ImageSource::open;
    std::function<std::vector<std::string>()> writableTypes = ImageDestination::typeIdentifiers;
    std::function<std::unique_ptr<ImageDestination>(const std::filesystem::path&, std::string_view, std::size_t)>
        createDestination = ImageDestination::create;
    std::function<bool(std::uint64_t)> fitsIntoMemory = ovrel::fitsIntoMemory;
};

/// \return whether the system's writer offers AVIF
bool canWriteAvif(const Services& services);

} // namespace ovrel
