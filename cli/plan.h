/// \file plan.h
/// What a run is going to do, decided before it begins.
#pragma once

#include "conversion/input_item.h"

#include <cstddef>
#include <exception>
#include <filesystem>
#include <functional>
#include <limits>
#include <span>
#include <vector>

namespace ovrel::cli {

/// Why a given path could not be searched for images.
struct UnreadablePath {
    std::filesystem::path path; ///< the given one, or what stood in the way below it
    std::exception_ptr error;   ///< not null
};

/// What the given paths hold.
struct Findings {
    std::vector<UnreadablePath> unreadable; ///< in the order given
    std::vector<InputItem> items;           ///< in the order of a file browser
};

/// Searches paths for images; as Converter::scan().
using ScanFunction = std::function<std::vector<InputItem>(std::span<const std::filesystem::path>)>;

/// Searches all paths, none more than twice. One that fails does not spoil the others.
/// \throws what `scan` throws besides ConversionError and FileError
Findings find(std::span<const std::filesystem::path> paths, const ScanFunction& scan);

/// One line of a run.
struct Step {
    enum class Action {
        convert,
        copy, ///< the source is AVIF already
        skip, ///< its first result name exists
        fail, ///< nothing can be done
    };
    static constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

    InputItem item;
    Action action = Action::convert;
    std::filesystem::path result; ///< where it will be written, or what makes it superfluous; empty for fail
    std::exception_ptr error;     ///< set for fail alone

    /// Sources that compete for one result name follow each other in the order of the list, whatever the number of
    /// images that are converted at once, so that the names do not depend on chance.
    std::size_t follower = none;
    bool follows = false; ///< whether it is the follower of an earlier step

    /// Whether a file is to be written.
    bool isWork() const { return action == Action::convert || action == Action::copy; }
};

/// Steps in the order of the list, the unreadable paths first. Supposes that every conversion succeeds.
/// \param exists whether a path is taken now
std::vector<Step> makePlan(Findings findings, const std::filesystem::path& output, bool skipExisting,
                           const std::function<bool(const std::filesystem::path&)>& exists);

} // namespace ovrel::cli
