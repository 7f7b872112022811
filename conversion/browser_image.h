/// \file browser_image.h
/// Pictures that every browser shows whole.
#pragma once

#include "platform/image.h"

namespace ovrel {

/// Makes both dimensions even, because some browsers cut the last column or row of an odd 4:2:0 picture: the edge
/// pixels are repeated to the right and at the bottom, with 8 bits a sample and in the image's own colour space when
/// that is RGB, else in sRGB. An image of even size is returned unchanged.
/// \throws ConversionError when the memory cannot be had
Image browserCompatibleImage(Image&& image);

} // namespace ovrel
