/// \file pictures.h
/// The sample pictures.
#pragma once

#include "platform/image.h"
#include "tests/support/gif_writer.h"

namespace ovrel::samples {

Image lake();               ///< mountains at sunrise; detailed and grainy, as a photograph is
Image aurora();             ///< northern lights over a forest
Image badge();              ///< the sun over waves on a tile with a shadow, transparent around it
test::GifContent balloon(); ///< a balloon that drifts over hills; its frames hold the balloon alone

} // namespace ovrel::samples
