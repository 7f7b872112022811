/// \file leave_at_once.h
/// The end of the program while work is still in hand.
#pragma once

namespace ovrel {

/// Ends the process with status 0 and waits for nothing: the image in hand is given up, and its hidden file removed.
/// Settings are stored when they are made, and the desktop lets go by itself of what the program held. Main thread.
[[noreturn]] void leaveAtOnce();

} // namespace ovrel
