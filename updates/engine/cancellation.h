/// \file cancellation.h
/// How the user ends a stage of an update.
#pragma once

#include "remote/linked_stop.h"
#include "updates/framework/one_shot.h"

namespace ovrel {

/// To be given to the driver. Dropped, nobody is left who could end the stage, so it ends as well.
inline OneShot<> cancellationOf(const LinkedStop& stage) {
    return OneShot<>([source = stage.source()] { requestStop(source); },
                     [source = stage.source()] { requestStop(source); });
}

} // namespace ovrel
