#!/usr/bin/env bash
# check_install.sh BUILD: installs the build into a temporary prefix and checks what a desktop
# finds there: the programs, the launcher, the clip type, the icons, the software centre's entry,
# the thumbnailer and the manual pages. The validators run where they are installed.
set -euo pipefail
build="$1"
work="$(mktemp -d)"
trap 'kill "${window:-0}" 2>/dev/null || true; rm -rf "$work"' EXIT
prefix="$work/prefix"
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
has() { command -v "$1" >/dev/null 2>&1; }

cmake --install "$build" --prefix "$prefix" >/dev/null

id=org.harrowglen.Harrowglen
share="$prefix/share"
for file in bin/harrowglen bin/hgvtool \
    "share/applications/$id.desktop" share/mime/packages/harrowglen.xml \
    "share/metainfo/$id.metainfo.xml" share/thumbnailers/harrowglen.thumbnailer \
    share/man/man1/harrowglen.1 share/man/man1/hgvtool.1 \
    "share/icons/hicolor/scalable/apps/$id.svg"; do
  [ -e "$prefix/$file" ] || fail "$file is not installed"
done
for size in 16 24 32 48 64 128 256; do
  png="$share/icons/hicolor/${size}x${size}/apps/$id.png"
  if [ ! -e "$png" ]; then
    fail "no ${size}x${size} icon"
  elif has file && ! file "$png" | grep -q "PNG image data, $size x $size"; then
    fail "the ${size}x${size} icon is $(file -b "$png")"
  fi
done

desktop="$share/applications/$id.desktop"
grep -qx 'Exec=harrowglen %f' "$desktop" || fail "the launcher does not take a file"
grep -q '^MimeType=video/x-harrowglen-hgv;' "$desktop" || fail "the launcher names no clip type"
grep -q '^MimeType=.*;video/mp4;' "$desktop" || fail "the launcher offers no camera video"
if has desktop-file-validate; then
  desktop-file-validate "$desktop" || fail "desktop-file-validate"
fi
if has appstreamcli; then
  appstreamcli validate --no-net "$share/metainfo/$id.metainfo.xml" >/dev/null ||
    fail "appstreamcli validate"
fi

# A clip of the program's own and two other names for it.
"$prefix/bin/hgvtool" sample "$work/clip.hgv" --frames 5 --size 320x240 >/dev/null
cp "$work/clip.hgv" "$work/LOUD.HGV"
cp "$work/clip.hgv" "$work/no-name"
if has update-mime-database; then
  update-mime-database "$share/mime" >/dev/null 2>&1 || fail "update-mime-database"
  [ -e "$share/mime/video/x-harrowglen-hgv.xml" ] || fail "the mime database has no clip type"
  if has gio; then
    for clip in clip.hgv LOUD.HGV no-name; do
      type="$(XDG_DATA_HOME="$work/none" XDG_DATA_DIRS="$share:/usr/share" \
        gio info -a standard::content-type "$work/$clip" | sed -n 's/.*content-type: //p')"
      [ "$type" = video/x-harrowglen-hgv ] || fail "gio takes $clip for '$type'"
    done
  fi
fi

# The thumbnailer, run as a file manager runs it.
exec_line="$(sed -n 's/^Exec=//p' "$share/thumbnailers/harrowglen.thumbnailer")"
command="${exec_line//%i/$work/clip.hgv}"
command="${command//%o/$work/thumb.png}"
command="${command//%s/128}"
PATH="$prefix/bin:$PATH" bash -c "$command" || fail "the thumbnailer: $command"
if has file; then
  file "$work/thumb.png" | grep -q 'PNG image data, 128 x 96' ||
    fail "the thumbnail is $(file -b "$work/thumb.png" 2>&1)"
fi

[ "$("$prefix/bin/harrowglen" --version)" = "harrowglen 1.0" ] || fail "harrowglen --version"

# Installed, the window keeps its scratch files in the user's data folder, not beside itself.
XDG_DATA_HOME="$work/data" HARROWGLEN_INSTANCE="install-test-$$" \
  "$prefix/bin/harrowglen" "$work/clip.hgv" 2>/dev/null &
window=$!
for _ in $(seq 100); do
  [ -e "$work/data/harrowglen/Temp.jpg" ] && break
  sleep 0.1
done
[ -e "$work/data/harrowglen/Temp.jpg" ] || fail "no scratch file in the user's data folder"
[ ! -e "$prefix/bin/Temp.jpg" ] || fail "scratch files beside the installed program"
kill "$window"
wait "$window" 2>/dev/null || true

[ "$failures" -eq 0 ] && echo "the install tree is complete"
exit "$failures"
