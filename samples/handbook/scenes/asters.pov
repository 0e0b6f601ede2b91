// New England asters in the long border, in the sun of a September afternoon.
#version 3.7;
#include "garden.inc"
global_settings { assumed_gamma 1 max_trace_level 4 }
#declare S = seed(36);
camera { location <0.02, 0.36, -0.62> look_at <-0.01, 0.245, 0> angle 36 right x * 4/3
    aperture 0.035 focal_point <0, 0.24, -0.035> blur_samples 48 variance 1/3000 confidence 0.9 }
light_source { <-4, 6, -3> color srgb <1, 0.93, 0.8> * 2.1 area_light x * 0.6, y * 0.6, 2, 2 jitter }
light_source { <5, 4, -6> color srgb <0.55, 0.65, 0.8> * 0.5 shadowless }
light_source { <1, 5, 6> color srgb <1, 0.9, 0.6> * 0.8 shadowless }
background { color srgb <0.16, 0.24, 0.1> }

#declare Purple = Daisy(srgb <0.78, 0.62, 0.9>, srgb <0.5, 0.28, 0.74>, 44, S)
#declare Violet = Daisy(srgb <0.85, 0.66, 0.88>, srgb <0.62, 0.26, 0.64>, 40, S)
#declare Leaf = object { Blade(1, 0.26, 50, -25, 0.8, 0.3) BladeTexture(srgb <0.22, 0.36, 0.14>, srgb <0.36, 0.52, 0.2>) }

#macro Flower(P, Size, Lean, Turn, Head)
    object { Head rotate y * Between(0, 360, S) scale Size rotate x * Lean rotate y * Turn translate P }
    #local Foot = <P.x * 0.6 + 0.02, 0, P.z + 0.06>;
    sphere_sweep { cubic_spline 4, Foot - y * 0.2, 0.003, Foot, 0.003, P - y * Size * 0.25, 0.002, P + y * 0.1, 0.002
        Matt(srgb <0.32, 0.38, 0.16>) }
    #local K = 0;
    #while (K < 7)
        object { Leaf scale 0.07 + 0.01 * K rotate y * K * 137
            translate Foot + (P - Foot) * (0.86 - 0.09 * K) }
        #local K = K + 1;
    #end
#end

Flower(<-0.005, 0.25, -0.02>, 0.068, -52, 8, Purple)
Flower(<0.135, 0.215, 0.04>, 0.058, -58, -18, Purple)
Flower(<-0.15, 0.2, 0.03>, 0.056, -48, 24, Violet)
Flower(<0.07, 0.315, 0.12>, 0.055, -40, -6, Violet)
Flower(<-0.09, 0.33, 0.16>, 0.058, -46, 14, Purple)
Flower(<0.2, 0.32, 0.26>, 0.06, -50, -14, Purple)
Flower(<-0.24, 0.29, 0.22>, 0.06, -42, 20, Purple)
Flower(<0.06, 0.145, 0.0>, 0.05, -62, -6, Violet)
Flower(<-0.1, 0.12, 0.02>, 0.046, -66, 12, Purple)
#declare I = 0;
#while (I < 26)
    object { #if (mod(I, 3) = 0) Violet #else Purple #end rotate y * Between(0, 360, S) scale Between(0.05, 0.065, S)
        rotate x * Between(-70, -30, S) translate <Between(-0.8, 0.8, S), Between(0.02, 0.48, S), Between(0.45, 1.3, S)> }
    #declare I = I + 1;
#end
#declare I = 0;
#while (I < 260)
    object { Leaf scale Between(0.08, 0.2, S) rotate x * Between(-60, 20, S) rotate y * Between(0, 360, S)
        translate <Between(-0.9, 0.9, S), Between(-0.1, 0.5, S), Between(0.3, 1.5, S)> }
    #declare I = I + 1;
#end
plane { -z, -2.2 texture { pigment { bozo turbulence 0.4 color_map {
    [0 color srgb <0.14, 0.24, 0.08>] [0.55 color srgb <0.3, 0.42, 0.15>] [0.8 color srgb <0.55, 0.62, 0.28>] } scale 0.22 }
    finish { ambient 0 emission 0.55 diffuse 0.2 } } }
