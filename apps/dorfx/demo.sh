#!/bin/sh
# Renders two transitions between two clips and a contact sheet of each.
#   DORFX=path/to/dorfx apps/dorfx/demo.sh OUTDIR
# The clips are pans over two photographs where Debian's package of them can be had, else test pictures.
set -eu

if [ $# -ne 1 ] || [ -z "${DORFX:-}" ]; then
  echo "usage: DORFX=path/to/dorfx $0 OUTDIR" >&2
  exit 2
fi
command -v ffmpeg >/dev/null || { echo "$0: the ffmpeg program is needed" >&2; exit 1; }
case $DORFX in /*) ;; *) DORFX=$PWD/$DORFX ;; esac
mkdir -p "$1"
cd "$1"

package=python3-sklearn
images=usr/lib/python3/dist-packages/sklearn/datasets/images

# Prints the folder of the photographs: of the installed package, or of one downloaded and unpacked.
find_photographs() {
  if [ -f "/$images/china.jpg" ]; then
    echo "/$images"
  elif [ -f "photographs/$images/china.jpg" ]; then
    echo "photographs/$images"
  elif command -v apt-get >/dev/null && command -v dpkg >/dev/null; then
    apt-get download "$package" >/dev/null 2>&1 && dpkg -x "$package"_*.deb photographs && rm -f "$package"_*.deb &&
      echo "photographs/$images"
  else
    return 1
  fi
}

# pan PICTURE X Y OUT: four seconds over a picture; X and Y from 0 to 1 as terms of t.
pan() {
  ffmpeg -v error -y -loop 1 -framerate 25 -t 4 -i "$1" \
    -vf "scale=1280:-2,crop=960:720:x='(in_w-out_w)*$2':y='(in_h-out_h)*$3',format=yuv420p" \
    -c:v libx264 -preset veryfast -crf 16 "$4"
}

if photographs=$(find_photographs); then
  pan "$photographs/china.jpg" "t/4" "0.5" first.mp4
  pan "$photographs/flower.jpg" "(1-t/4)" "t/4" second.mp4
  cp "$photographs/README.txt" photographs.txt
  first=first.mp4 second=second.mp4
else
  echo "the photographs cannot be had; test pictures take their place" >&2
  first=test:bars second=test:zone
fi

# Sixteen bits of clouds, so that the edge has no steps.
ffmpeg -v error -y -f lavfi -i "color=black:s=240x180,format=gray16,\
geq=lum='32767+10922*(sin(X/23+2*sin(Y/31))+sin(Y/19+1.7*sin(X/29))+sin((X+Y)/37))'" -frames:v 1 clouds.pgm

"$DORFX" "$first" "$second" -y -d 1.5 --easing ease-in-out --sheet fade.png -o fade.mp4
"$DORFX" "$first" "$second" -y -d 2 --key clouds.pgm --softness 0.03 --border 24:gold --sheet luma.png -o luma.mp4

echo "In $PWD:"
echo "  fade.mp4  fade.png   a fade, and its contact sheet"
echo "  luma.mp4  luma.png   a wipe along clouds.pgm with a soft golden edge, and its contact sheet"
if [ -f photographs.txt ]; then
  echo "The photographs are by danielbuechele (china.jpg) and vultilion (flower.jpg), CC BY 2.0,"
  echo "https://creativecommons.org/licenses/by/2.0/; see photographs.txt."
fi
