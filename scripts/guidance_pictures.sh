#!/bin/sh
# Renders the guidance pictures under docs/guidance/ from synthetic frame
# pairs of palm 7, with the template docs/guidance/card.png (the outline of
# that hand, as sim/guidance_card.h draws it at zoom 0.9 with 6-pixel lines).
#   scripts/guidance_pictures.sh [PATH_TO_PALM_TOOL]
set -eu
palm=${1:-build/tools/palm/palm}
docs=docs/guidance
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
while read -r name pose; do
  # shellcheck disable=SC2086
  "$palm" simulate --difficulty easy --identity 7 $pose --noise 0 "$work/$name" >/dev/null
  printf '%-8s ' "$name"
  "$palm" guide "$docs/card.png" "$work/$name/vl.png" "$work/$name/nir.png" "$work/$name/canvas.png" \
    --overlay "$docs/guide_$name.png"
done <<'POSES'
centred --scale 1.6 --offset 5 0
left --scale 1.6 --offset -150 0
right --scale 1.6 --offset 150 0
up --scale 1.7 --offset 0 -135
down --scale 1.6 --offset 0 140
turned --scale 1.6 --rotation 25 --offset 10 0
small --scale 1.0 --offset 10 0
POSES
