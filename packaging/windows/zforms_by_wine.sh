#!/bin/sh
# Tests run this script in place of the program. It runs the zforms.exe in its folder under Wine.
exec /usr/lib/wine/wine64 "${0%/*}/zforms.exe" "$@"
