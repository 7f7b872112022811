#include "platform/codec_versions.h"
