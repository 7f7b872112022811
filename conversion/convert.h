/// \file convert.h
/// Converter::convert with services of one's own.
#pragma once

#include "conversion/converter.h"
#include "conversion/services.h"

#include <filesystem>

namespace ovrel {

/// See Converter::convert().
ConversionResult convertItem(const InputItem& item, const std::filesystem::path& output, double quality,
                             EncodingMode mode, int speed, const Services& services);

} // namespace ovrel
