/// \file convert.h
/// Converter::convert with services of one's own.
#pragma once

#include "conversion/converter.h"
#include "conversion/services.h"
#include "conversion/turn.h"

#include <filesystem>

namespace ovrel {

/// See Converter::convert().
/// \param turn what it may hear and tells while it waits for others
/// \throws ConversionError, FileError; NotBegun as `turn` says
ConversionResult convertItem(const InputItem& item, const std::filesystem::path& output, double quality,
                             EncodingMode mode, int speed, const Services& services, Turn& turn);

} // namespace ovrel
