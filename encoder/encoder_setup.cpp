#include "encoder/avif_encoder.h"
