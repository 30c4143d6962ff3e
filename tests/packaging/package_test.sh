#!/usr/bin/env bash
# Builds the Debian package from the build folder into a temporary folder and checks what an
# office's machine gets from it: both programs (runnable, the version of this build), the
# desktop entry (valid, naming the installed program and its icon), the icon, the man pages
# (they format without warnings), and dependencies that bring the window's Qt platform plugin.
set -euo pipefail
build="$1"
version="$2"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
fail() { echo "package_test: $*" >&2; exit 1; }

(cd "$build" && cpack --config CPackConfig.cmake -B "$work/out" >"$work/cpack.log" 2>&1) ||
  { cat "$work/cpack.log" >&2; fail "cpack failed"; }
deb="$(ls "$work"/out/qorvane_"$version"_*.deb 2>/dev/null | head -1)"
[[ -f "$deb" ]] || fail "no qorvane_${version}_*.deb in $work/out"

[[ "$(dpkg-deb -f "$deb" Package)" == qorvane ]] || fail "package name"
depends="$(dpkg-deb -f "$deb" Depends)"
for needed in qt6-qpa-plugins libqt6widgets6 libc6; do
  [[ "$depends" == *"$needed"* ]] || fail "Depends lacks $needed: $depends"
done

dpkg-deb -x "$deb" "$work/root"
for file in usr/bin/qorvane usr/bin/qorvane-gui usr/share/applications/qorvane.desktop \
            usr/share/icons/hicolor/scalable/apps/qorvane.svg \
            usr/share/icons/hicolor/48x48/apps/qorvane.png usr/share/icons/hicolor/256x256/apps/qorvane.png \
            usr/share/man/man1/qorvane.1.gz usr/share/man/man1/qorvane-gui.1.gz; do
  [[ -s "$work/root/$file" ]] || fail "missing $file"
done

[[ "$("$work/root/usr/bin/qorvane" --version)" == "$version" ]] || fail "qorvane --version"
"$work/root/usr/bin/qorvane-gui" --help | grep -q "Usage: qorvane-gui" || fail "qorvane-gui --help"

desktop="$work/root/usr/share/applications/qorvane.desktop"
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$desktop" || fail "desktop entry does not validate"
fi
grep -qx "Exec=qorvane-gui" "$desktop" || fail "desktop entry does not start qorvane-gui"
grep -qx "Icon=qorvane" "$desktop" || fail "desktop entry does not name the icon"
python3 -c "import sys, xml.dom.minidom as m; m.parse(sys.argv[1])" \
  "$work/root/usr/share/icons/hicolor/scalable/apps/qorvane.svg" || fail "icon is not well-formed SVG"

for page in qorvane qorvane-gui; do
  warnings="$(zcat "$work/root/usr/share/man/man1/$page.1.gz" | groff -man -ww -z -Tutf8 2>&1)"
  [[ -z "$warnings" ]] || fail "man page $page: $warnings"
done
echo "package_test: $(basename "$deb") is complete"
