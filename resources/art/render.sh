#!/bin/sh
# Renders the drawings of this folder as the pictures that are compiled into the program. Each picture except the logo
# also gets a variant of twice the size ("@2x"), which Qt uses on screens with a scale factor of 2. Run this script
# after changing a drawing and commit the results.
set -eu
cd "$(dirname "$0")"

if ! command -v rsvg-convert >/dev/null || ! command -v optipng >/dev/null; then
    echo "render.sh needs rsvg-convert and optipng (Debian packages librsvg2-bin and optipng)." >&2
    exit 1
fi

generated=
trap 'rm -f $generated' EXIT

render() { # arguments: drawing, picture without its suffix
    rsvg-convert --zoom 1 "$1" --output "$2.png"
    rsvg-convert --zoom 2 "$1" --output "$2@2x.png"
}

render_scene() { # arguments: scene, generation in lower case, generation in upper case
    drawing="generated-$2-$1.svg"
    generated="$generated $drawing"
    sed "s/GENERATION/$2/g" "$1.svg" >"$drawing"
    render "$drawing" "../images/$3-$1"
}

mkdir -p ../images ../icons
rsvg-convert logo.svg --output ../MarovexLogo.png
render doneandnext.svg ../icons/doneandnext
render process-stop.svg ../icons/process-stop
for scene in startscreen pairinginstructions; do
    render_scene "$scene" vynt1 VYNT1
    render_scene "$scene" vynt2 VYNT2
done
# Without row filters (-f0) these flat drawings need a third fewer bytes and half the time to decode, so the
# program starts faster.
optipng -quiet -strip all -f0 -zc9 -zm9 -zs0,1 ../images/*.png ../icons/*.png ../MarovexLogo.png
