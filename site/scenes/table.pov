// Breakfast at the window: bread, cheese and a mug.
#version 3.7;
#include "pass.inc"
#declare S = seed(6);
camera { location <-0.05, 0.4, -1.08> look_at <0.03, 0.13, 0> angle 50 right x * 3/2 }
light_source { <-1.4, 1.5, 1.1> color srgb <1, 0.9, 0.75> * 0.62 area_light x * 0.6, y * 0.6, 4, 4 adaptive 1 jitter }
background { color srgb <0.2, 0.15, 0.11> }
union {
    #declare I = 0;
    #while (I < 8) box { <-2, -0.04, -1.2 + I * 0.27>, <2, 0, -1.2 + I * 0.27 + 0.264>
        texture { pigment { wood turbulence 0.12 octaves 3 color_map { [0 color srgb <0.62, 0.44, 0.27>] [0.7 color srgb <0.5, 0.34, 0.2>] [1 color srgb <0.38, 0.25, 0.14>] } scale <0.05, 0.03, 1> rotate y * 90 rotate z * 2 translate I * 7 }
            normal { wood 0.15 scale <0.05, 0.03, 1> rotate y * 90 } finish { ambient 0 diffuse 0.65 specular 0.15 roughness 0.05 } } } #declare I = I + 1; #end
}
// The wall with its window, the mountain beyond.
difference {
    box { <-3, -1, 0.95>, <3, 3, 1.1> }
    box { <-0.75, 0.05, 0.9>, <0.35, 0.9, 1.2> }
    Wood(srgb <0.46, 0.31, 0.2>)
}
box { <-0.22, 0.05, 1>, <-0.18, 0.9, 1.05> Matt(srgb <0.85, 0.83, 0.78>) }
object { Mountains() rotate y * 8 scale <0.2, 0.1, 0.2> translate <-40, -38, 60> }
// Mug of enamel with its rim.
union {
    difference {
        union { cylinder { y * 0.008, y * 0.16, 0.075 } torus { 0.07, 0.008 translate y * 0.008 } }
        cylinder { y * 0.012, y * 0.3, 0.071 }
        texture { pigment { granite color_map { [0 color srgb <0.13, 0.24, 0.42>] [0.93 color srgb <0.13, 0.24, 0.42>] [0.95 color srgb <0.85, 0.88, 0.92>] } scale 0.12 } finish { ambient 0 diffuse 0.6 specular 0.6 roughness 0.01 reflection { 0.02, 0.3 fresnel on } } }
    }
    torus { 0.073, 0.004 translate y * 0.16 texture { pigment { color srgb <0.9, 0.9, 0.9> } finish { ambient 0 diffuse 0.6 specular 0.6 roughness 0.01 } } }
    difference { torus { 0.045, 0.009 rotate x * 90 scale <1, 1.15, 1> } plane { x, 0 } translate <0.072, 0.085, 0> texture { pigment { color srgb <0.13, 0.24, 0.42> } finish { ambient 0 diffuse 0.6 specular 0.6 roughness 0.01 } } }
    cylinder { 0, y * 0.135, 0.0705 texture { pigment { color srgb <0.16, 0.08, 0.04> } finish { ambient 0 diffuse 0.5 reflection { 0.02, 0.5 fresnel on } } } }
    interior { ior 1.5 }
    rotate y * -35 translate <-0.26, 0, -0.2>
}
// A board with a loaf, slices and cheese.
superellipsoid { <0.3, 0.15> scale <0.3, 0.014, 0.19> translate <0.15, 0.014, -0.02>
    texture { pigment { wood turbulence 0.08 color_map { [0 color srgb <0.7, 0.52, 0.33>] [1 color srgb <0.5, 0.34, 0.2>] } scale 0.03 rotate y * 80 } finish { ambient 0 diffuse 0.7 } } }
#declare Crust = texture { pigment { granite color_map { [0 color srgb <0.5, 0.27, 0.1>] [0.6 color srgb <0.66, 0.4, 0.17>] [1 color srgb <0.85, 0.68, 0.44>] } scale 0.15 } normal { granite 0.5 scale 0.06 } finish { ambient 0 diffuse 0.7 specular 0.08 } }
#declare Crumb = texture { pigment { granite color_map { [0 color srgb <0.9, 0.8, 0.6>] [0.7 color srgb <0.84, 0.7, 0.48>] [0.85 color srgb <0.6, 0.44, 0.26>] } scale 0.05 } normal { granite 0.7 scale 0.03 } finish { ambient 0 diffuse 0.75 } }
#declare Loaf = isosurface { function { pow(x / 0.19, 2) + pow(y / 0.085, 2) + pow(z / 0.1, 2) - 1 + 0.22 * f_noise3d(x * 14, y * 14, z * 14) + 0.1 * max(0, sin(x * 60 + z * 20)) * (y > 0.03) } max_gradient 40 contained_by { box { <-0.21, -0.02, -0.12>, <0.21, 0.12, 0.12> } } texture { Crust } }
intersection { object { Loaf } plane { x, 0.06 texture { Crumb } } rotate y * 18 translate <0.24, 0.045, 0.06> }
#macro Slice(P, R) intersection { object { Loaf } box { <0.02, -1, -1>, <0.036, 1, 1> texture { Crumb } } translate -x * 0.028 rotate R translate P } #end
Slice(<0.34, 0.075, 0.02>, <0, 20, -62>) Slice(<0.4, 0.055, 0.0>, <0, 14, -78>)
difference {
    cylinder { 0, y * 0.085, 0.17 }
    plane { -x, 0 rotate y * 18 } plane { x, 0 rotate y * -22 inverse }
    sphere { <-0.03, 0.05, -0.12>, 0.017 } sphere { <0.02, 0.075, -0.1>, 0.014 } sphere { <0.015, 0.03, -0.155>, 0.015 } sphere { <-0.005, 0.085, -0.07>, 0.016 }
    texture { pigment { color srgb <0.95, 0.76, 0.32> } finish { ambient 0 diffuse 0.75 specular 0.15 roughness 0.05 } }
    rotate y * 24 translate <0.03, 0.028, 0.04>
}
// A knife, and a jar with gentians.
box { <-0.13, 0, -0.006>, <0, 0.004, 0.014> texture { pigment { color srgb <0.7, 0.72, 0.74> } finish { ambient 0 diffuse 0.3 reflection 0.5 specular 0.6 } } rotate y * -28 translate <0.14, 0.03, -0.14> }
superellipsoid { <0.5, 0.5> scale <0.06, 0.009, 0.013> Wood(srgb <0.4, 0.18, 0.1>) translate <0.055, 0.004, 0.004> rotate y * -28 translate <0.14, 0.03, -0.14> }
cylinder { 0, y * 0.13, 0.045 translate <-0.43, 0, 0.2> texture { pigment { color srgbt <0.85, 0.93, 0.95, 0.75> } finish { ambient 0 diffuse 0.2 specular 0.8 roughness 0.005 reflection { 0.03, 0.4 fresnel on } } } interior { ior 1.2 } }
#declare I = 0;
#while (I < 9)
    #declare A = I * 2.4;
    #declare P = <-0.43 + 0.055 * cos(A), 0.2 + Between(0, 0.09, S), 0.2 + 0.05 * sin(A)>;
    cone { <-0.43, 0.02, 0.2>, 0.002, P, 0.002 Matt(srgb <0.25, 0.4, 0.14>) }
    #declare J = 0;
    #while (J < 5) object { Blade(0.035, 0.026, 60, 25, 0.9, 0.4) BladeTexture(srgb <0.05, 0.07, 0.45>, srgb <0.16, 0.22, 0.85>) rotate y * J * 72 rotate <Between(-40, 0, S), Between(-40, 40, S), 0> translate P } #declare J = J + 1; #end
    #declare I = I + 1;
#end
