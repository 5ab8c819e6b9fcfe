#!/bin/sh
# Stands for the program in tests: runs the zforms.exe beside it by Wine.
exec /usr/lib/wine/wine64 "${0%/*}/zforms.exe" "$@"
