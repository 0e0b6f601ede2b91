// Trays of cuttings on the bench of the potting shed.
#version 3.7;
#include "garden.inc"
global_settings { assumed_gamma 1 max_trace_level 4 }
#declare S = seed(12);
camera { location <-0.12, 0.66, -1.2> look_at <0.04, 0.13, 0.06> angle 42 right x * 4/3 }
light_source { <-3.2, 3.2, -2.6> color srgb <1, 0.93, 0.8> * 2 area_light x * 1.2, y * 1.2, 5, 5 adaptive 1 jitter }
light_source { <3, 3, -4> color srgb <0.6, 0.7, 0.85> * 0.7 shadowless }

#declare Boards = texture {
    pigment { wood turbulence 0.06 octaves 3 color_map { [0 color srgb <0.62, 0.48, 0.33>] [0.6 color srgb <0.54, 0.4, 0.26>] [1 color srgb <0.4, 0.28, 0.18>] } scale <0.05, 0.05, 0.4> rotate y * 90 rotate x * 3 }
    finish { ambient 0 diffuse 0.7 specular 0.05 } }
#declare I = -5;
#while (I < 6)
    box { <-3, -0.04, I * 0.16 + 0.003>, <3, 0, I * 0.16 + 0.157> texture { Boards translate <Between(-3, 3, S), Between(-1, 1, S), 0> } }
    #declare I = I + 1;
#end
#declare I = -9;
#while (I < 10)
    box { <I * 0.19 + 0.004, -1, 0.96>, <I * 0.19 + 0.186, 3, 1> texture { Boards rotate z * 90 translate <Between(-3, 3, S), Between(-3, 3, S), 0> }
        texture { pigment { color srgbt <0.35, 0.5, 0.42, 0.35> } finish { ambient 0 diffuse 0.6 } } }
    #declare I = I + 1;
#end
#macro Clay(Shade) texture {
    pigment { bozo turbulence 0.6 color_map { [0 color srgb <0.74, 0.4, 0.25> * Shade] [0.7 color srgb <0.66, 0.33, 0.2> * Shade] [1 color srgb <0.8, 0.6, 0.48> * Shade] } scale 0.12 }
    normal { bumps 0.08 scale 0.006 } finish { ambient 0 diffuse 0.75 } } #end
#declare PotShape = difference {
    union { cone { 0, 0.068, y * 0.13, 0.09 } cone { y * 0.125, 0.1, y * 0.162, 0.104 } torus { 0.1, 0.004 translate y * 0.162 } }
    cone { y * 0.02, 0.06, y * 0.17, 0.095 }
}
#declare Grain = function { pattern { granite scale 0.4 } }
#declare Soil = intersection {
    height_field { function 90, 90 { Grain(x, y, z) * 0.5 } translate <-0.5, 0, -0.5> scale <0.2, 0.05, 0.2> }
    cylinder { 0, y * 0.1, 0.09 }
    translate y * 0.118
    Matt(srgb <0.24, 0.17, 0.12>)
}
#declare Young = object { Blade(1, 0.5, 38, -22, 0.85, 0.3) BladeTexture(srgb <0.34, 0.5, 0.16>, srgb <0.5, 0.66, 0.24>) }
#declare Old = object { Blade(1, 0.42, 30, -30, 0.85, 0.3) BladeTexture(srgb <0.2, 0.36, 0.16>, srgb <0.3, 0.48, 0.2>) }
// Pairs of leaves, each turned against the one below.
#macro Cutting(Leaf, Pairs, Height, Size)
    union {
        cone { 0, 0.0045, y * Height, 0.0022 Matt(srgb <0.4, 0.42, 0.2>) }
        #local K = 0;
        #while (K < Pairs)
            #local L = Size * (1 - 0.5 * K / Pairs);
            object { Leaf scale L rotate x * (-18 * K / Pairs) rotate y * K * 90 translate y * Height * (0.35 + 0.65 * K / max(1, Pairs - 1)) }
            object { Leaf scale L rotate x * (-18 * K / Pairs) rotate y * (K * 90 + 180) translate y * Height * (0.35 + 0.65 * K / max(1, Pairs - 1)) }
            #local K = K + 1;
        #end
    }
#end
#macro Pot(P, Size, Plant, Label)
    union {
        object { PotShape Clay(Between(0.85, 1.1, S)) rotate y * Between(0, 360, S) }
        object { Soil rotate y * Between(0, 360, S) }
        object { Plant rotate <Between(-5, 5, S), Between(0, 360, S), Between(-5, 5, S)> translate y * 0.135 }
        #if (Label)
            box { <-0.013, 0, -0.0015>, <0.013, 0.15, 0.0015> rotate <-8, Between(-25, 25, S), Between(-6, 6, S)> translate <0.055, 0.12, -0.03> Matt(srgb <0.95, 0.93, 0.86>) }
        #end
        scale Size translate P
    }
#end
#declare Small = Cutting(Young, 2, 0.06, 0.07)
#declare Middle = Cutting(Young, 4, 0.13, 0.095)
#declare Tall = Cutting(Old, 6, 0.24, 0.115)
Pot(<-0.42, 0, 0.36>, 1.25, Tall, 0) Pot(<-0.1, 0, 0.42>, 1.2, Tall, 1) Pot(<0.22, 0, 0.4>, 1.3, Middle, 0) Pot(<0.55, 0, 0.44>, 1.25, Tall, 1)
Pot(<-0.3, 0, 0.1>, 1, Middle, 1) Pot(<-0.04, 0, 0.14>, 0.95, Small, 1) Pot(<0.22, 0, 0.1>, 1.02, Middle, 1) Pot(<0.5, 0, 0.14>, 1, Small, 0)
Pot(<-0.16, 0, -0.2>, 0.9, Small, 1) Pot(<0.1, 0, -0.17>, 0.9, Middle, 1)
// A pot that waits on its side, string and pencil.
union { object { PotShape Clay(1.05) } rotate x * 90 rotate y * 38 translate <0.42, 0.1, -0.14> }
torus { 0.05, 0.02 scale <1, 1.25, 1> translate <-0.42, 0.025, -0.2> texture { pigment { color srgb <0.72, 0.6, 0.4> } normal { gradient y 0.9 scale 0.006 rotate z * 30 } finish { ambient 0 diffuse 0.75 } } }
union { cylinder { 0, x * 0.16, 0.005 Matt(srgb <0.68, 0.3, 0.14>) } cone { x * 0.16, 0.005, x * 0.178, 0.0008 Matt(srgb <0.85, 0.7, 0.5>) }
    rotate y * -24 translate <0.14, 0.005, -0.42> }
