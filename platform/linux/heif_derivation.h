/// \file heif_derivation.h
/// Which pictures of a HEIF file are made of others. Any thread.
#pragma once

#include <cstdint>
#include <span>

namespace ovrel {

/// \return whether pictures are made of pictures of pictures more often than any camera does it, or of themselves,
///         or of very many, or whether that cannot be told. libheif follows them as deep as they lead.
bool derivesTooDeeply(std::span<const std::uint8_t> heif);

} // namespace ovrel
