/// \file queue.h
/// What becomes of the list of images when it is long.
#pragma once

namespace ovrel::bench {

/// Prints, for each thing that users do with the list, how its time grows from 10,000 items to 100,000: ten times is
/// linear. Throws std::runtime_error.
void compareQueues();

} // namespace ovrel::bench
