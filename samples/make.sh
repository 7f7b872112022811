#!/bin/sh
# Makes the sample pictures anew.
set -eu
cd "$(dirname "$0")/.."
cmake --preset dev
cmake --build --preset dev --target make-samples
build/dev/bin/make-samples samples
