# For the render scripts: one surface under two lights, its inside red.

# render_scene SURFACE.stl PICTURE.png WORK SIGHT UP AIM VIEW SIZE [flat]: SIGHT is where the camera looks from, AIM the
# point in the middle, VIEW the width that it shows, in units of the mesh, SIZE that of the picture.
render_scene() {
  local surface=$1 picture=$2 work=$3 sight=$4 up=$5 aim=$6 view=$7 size=$8
  local name
  name=$(basename "$picture" .png)
  "$build/examples/stl_to_pov" "$surface" "$work/$name.inc" surface "${@:9}"
  cat >"$work/$name.pov" <<SCENE
#version 3.7;
global_settings { assumed_gamma 1.0 max_trace_level 3 }
#include "$name.inc"
background { color rgb <0.955, 0.965, 0.98> }
// The exporter turns z round for the renderer's left-handed axes.
#macro Turned(P) <P.x, P.y, -P.z> #end
#declare Sight = vnormalize(Turned($sight));
#declare Aim = Turned($aim);
#declare Up = Turned($up);
camera {
  orthographic
  sky Up
  location Aim + Sight * 300
  look_at Aim
  right x * $view
  up y * $view * 0.62
}
#declare Aside = vnormalize(vcross(Up, Sight));
light_source { Aim + Sight * 300 + Aside * 220 + Up * 260 color rgb 0.9 shadowless }
light_source { Aim + Sight * 300 - Aside * 320 + Up * 40 color rgb <0.26, 0.3, 0.36> shadowless }
object {
  surface
  texture {
    pigment { color rgb <0.60, 0.66, 0.74> }
    finish { ambient 0.14 diffuse 0.68 specular 0.10 roughness 0.06 }
  }
  interior_texture {
    pigment { color rgb <0.78, 0.09, 0.07> }
    finish { ambient 0.42 diffuse 0.5 }
  }
}
SCENE
  (cd "$work" && povray "+I$name.pov" "+O$picture" "+W$size" "+H$((size * 62 / 100))" +A0.1 +AM2 +R3 -D -GA \
    >"$name.log" 2>&1) || {
    tail -n 20 "$work/$name.log" >&2
    exit 1
  }
  echo "$picture: $(($(stat -c %s "$picture") / 1024)) KiB"
}
