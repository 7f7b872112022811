#include "tests/support/avif_writer.h"
