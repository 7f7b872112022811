#include "model/leave_at_once.h"

#include "platform/temporary_file.h"

#include <unistd.h>

namespace ovrel {

void leaveAtOnce() {
    removeTemporaryFiles();
    ::_exit(0);
}

} // namespace ovrel
