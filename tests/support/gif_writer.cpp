#include "tests/support/gif_writer.h"
