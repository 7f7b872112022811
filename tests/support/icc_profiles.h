/// \file icc_profiles.h
/// ICC profiles for pictures that a test makes up.
#pragma once

#include <lcms2.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ovrel::test {

/// The bytes of the profile that `make` makes with Little CMS.
std::vector<std::uint8_t> savedProfile(const std::function<cmsHPROFILE(cmsContext)>& make);

/// Grey whose samples become light by the power `gamma`.
std::vector<std::uint8_t> grayProfile(double gamma);

/// RGB with more colours than sRGB.
std::vector<std::uint8_t> displayP3Profile();

/// A press that knows black ink alone: a table from inks to L*a*b* whose lightness falls evenly from paper to black.
std::vector<std::uint8_t> inkProfile();

/// A profile as it stands in a file.
std::string textOf(const std::vector<std::uint8_t>& profile);

} // namespace ovrel::test
