#!/usr/bin/env bash
# Usage: docs/picture.sh [QUARN]. Makes docs/report.png: the table of categories and the map of the report on the sample volume,
# as a browser shows them on a window of 1000 by 1090 pixels. Needs chromium. QUARN is the command, by default build/dev/bin/quarn.
set -euo pipefail
cd "$(dirname "$0")/.."
quarn=$(realpath "${1:-build/dev/bin/quarn}")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$quarn" sample "$folder/Macintosh HD" > "$folder/log"
"$quarn" --no-config --volume "$folder/Macintosh HD" --home /Users/ann report -o "$folder/report.html" > "$folder/log"
# The part below the head of the page.
cat > "$folder/part.html" << 'HTML'
<!doctype html><title>The part that is shown</title><body style="margin:0;overflow:hidden">
<iframe src="report.html" style="border:0;width:1000px;height:1440px;margin-top:-315px"></iframe>
HTML
# The sandbox of chromium does not work for root. It loads this one page, without a network.
HOME=$folder chromium --headless --no-sandbox --disable-gpu --hide-scrollbars --no-first-run --disable-sync \
  --disable-background-networking --disable-component-update --proxy-server=127.0.0.1:9 \
  --blink-settings=preferredColorScheme=1 --user-data-dir="$folder/profile" --window-size=1000,1090 \
  --screenshot="$folder/report.png" "file://$folder/part.html" 2> "$folder/log"
size=$(stat -c %s "$folder/report.png")
if ((size > 200000)); then
  echo "$0: the picture has $size bytes, more than 200000" >&2
  exit 1
fi
mv "$folder/report.png" docs/report.png
echo "Wrote docs/report.png, $size bytes"
