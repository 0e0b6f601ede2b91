// The pond on a morning in June, from the bicycle stands.
#version 3.7;
#include "garden.inc"
global_settings { assumed_gamma 1 max_trace_level 5 }
#declare S = seed(1911);
camera { location <0, 1.75, -13> look_at <0, 1.75, 10> angle 52 right x * 4/3 }
light_source { <-140, 95, -40> color srgb <1, 0.9, 0.72> * 3 }
light_source { <60, 100, -120> color srgb <0.6, 0.72, 0.9> * 0.7 shadowless }
Sky(srgb <0.28, 0.5, 0.82>, srgb <0.86, 0.88, 0.84>, srgb <1, 0.97, 0.92>)
fog { fog_type 2 fog_offset 0 fog_alt 2.2 distance 190 color srgb <0.82, 0.86, 0.86> }

#declare Ball = LeafBall(260, 0.34, S)
#declare Fine = LeafBall(420, 0.22, S)
#declare Tuft = GrassTuft(420, 0.16, S)
#declare Reeds = GrassTuft(130, 1.15, S)
#declare Bark = srgb <0.36, 0.3, 0.24>;
#declare Green = Tree(Ball, srgb <0.3, 0.45, 0.16>, Bark, 170, S)
#declare Dark = Tree(Fine, srgb <0.2, 0.34, 0.16>, Bark, 150, S)
#declare Light = Tree(Fine, srgb <0.48, 0.58, 0.2>, Bark, 130, S)
#declare Copper = Tree(Ball, srgb <0.46, 0.24, 0.16>, Bark, 150, S)

#declare Swell = function { pattern { bozo scale 0.09 } }
// Ground with a hollow for the water.
difference {
    height_field { function 160, 160 { Swell(x, y, z) * 0.4 } smooth translate <-0.5, 0, -0.5> scale <90, 1.1, 90> translate <0, -0.12, 18> }
    cylinder { -y * 3, y * 3, 1 scale <12.5, 1, 9.5> translate <0.8, 0, 0.8> }
    cylinder { -y * 3, y * 3, 1 scale <7.5, 1, 5.5> translate <-7.2, 0, 4.5> }
    texture { pigment { bozo turbulence 0.5 color_map { [0 color srgb <0.3, 0.42, 0.15>] [1 color srgb <0.44, 0.54, 0.22>] } scale 1.5 }
        finish { ambient 0 diffuse 0.6 } }
}
plane { y, 0 texture { pigment { color srgb <0.03, 0.06, 0.05> }
    normal { average normal_map { [1 bumps 0.1 scale <1.4, 1, 0.35>] [1 ripples 0.012 frequency 1.5 scale 1.2 translate <3, 0, 1>] } }
    finish { ambient 0 diffuse 0.25 reflection { 0.28, 0.95 fresnel on } specular 0.4 roughness 0.003 conserve_energy } }
    interior { ior 1.33 } }

// Trees beyond the water.
#macro Plant(Kind, X, Z, Height) object { Kind rotate y * Between(0, 360, S) scale Height translate <X, 0, Z> } #end
Plant(Copper, 8.8, 17, 9.5) Plant(Green, -3.5, 19, 11) Plant(Dark, 3.2, 24, 13) Plant(Light, -9.5, 16, 8)
Plant(Green, 14.5, 21, 12) Plant(Dark, -15, 22, 13) Plant(Light, 0.2, 30, 12) Plant(Dark, 20, 28, 14) Plant(Green, -21, 28, 14)
#declare I = 0;
#while (I < 26)
    object { #if (mod(I, 2)) Green #else Dark #end rotate y * Between(0, 360, S) scale Between(9, 15, S)
        translate <-50 + I * 4 + Between(-1, 1, S), -1, Between(38, 52, S)> }
    #declare I = I + 1;
#end
#declare I = 0;
#while (I < 60)
    object { Ball scale <2.4, 1.9, 2> * Between(0.8, 1.3, S) rotate y * Between(0, 360, S) translate <-36 + I * 1.25, 1, Between(30, 34, S)>
        texture { pigment { color srgb <0.24, 0.37, 0.15> * Between(0.8, 1.2, S) } finish { ambient 0 diffuse 0.55, 0.25 } } }
    #declare I = I + 1;
#end
// The mulberry leans over the bank on its prop.
object { Light scale <11, 6.5, 9> rotate z * -17 translate <-9.2, 0, 8.2> }
cylinder { <-7.2, -0.2, 7.4>, <-7.9, 2.6, 7.7>, 0.09 Matt(srgb <0.4, 0.33, 0.26>) }
// Shrubs and reeds at the edge.
#declare I = 0;
#while (I < 34)
    #declare A = Between(-0.15, 1.15, S) * pi;
    object { Fine scale <1, 0.75, 1> * Between(0.5, 1.25, S) translate <0.8 + 13.8 * cos(A), 0.45, 1.2 + 10.6 * sin(A)>
        texture { pigment { color srgb <0.3, 0.42, 0.17> * Between(0.7, 1.3, S) } finish { ambient 0 diffuse 0.55, 0.25 } } }
    #declare I = I + 1;
#end
#declare I = 0;
#while (I < 46)
    #declare A = Between(0.02, 1, S) * pi;
    object { Reeds scale Between(0.8, 1.3, S) rotate y * Between(0, 360, S)
        translate <0.8 + Between(11.6, 12.6, S) * cos(A), -0.05, 0.8 + Between(8.6, 9.5, S) * sin(A)> GrassTexture(1.15, S) }
    #declare I = I + 1;
#end
#declare I = 0;
#while (I < 9)
    object { Reeds rotate y * Between(0, 360, S) scale <1, Between(0.9, 1.25, S), 1>
        translate #if (I < 5) <-5.6 + 0.55 * I, -0.1, -8.2 + Between(-0.3, 0.3, S)> #else <4.4 + 0.6 * (I - 4), -0.1, -8 + Between(-0.3, 0.4, S)> #end
        GrassTexture(1.3, S) }
    #declare I = I + 1;
#end
// Near bank.
#declare I = 0;
#while (I < 90)
    object { Tuft rotate y * Between(0, 360, S) translate <Between(-6, 6, S), 0.06, Between(-11.4, -8.8, S)> GrassTexture(1.25, S) }
    #declare I = I + 1;
#end
// Water lilies.
#declare Pad = difference { cylinder { 0, y * 0.012, 1 } box { <-0.1, -1, 0>, <0.1, 1, 2> rotate y * 8 } box { <-0.1, -1, 0>, <0.1, 1, 2> rotate -y * 8 } }
#declare Lily = union {
    #declare I = 0;
    #while (I < 22)
        object { Blade(1, 0.42, 22 + 26 * mod(I, 2), 60 + 16 * mod(I, 2), 0.9, 0.5) BladeTexture(srgb <1, 0.86, 0.88>, srgb <1, 0.97, 0.96>) rotate y * I * 137.5 }
        #declare I = I + 1;
    #end
    sphere { y * 0.2, 0.22 Matt(srgb <0.95, 0.75, 0.2>) }
}
#declare I = 0;
#while (I < 95)
    #if (mod(I, 3))
        #declare P = <3.2 + Between(-2.6, 3, S), 0.004, -2 + Between(-2.4, 2.4, S)>;
    #else
        #declare P = <-3.4 + Between(-2.2, 2.2, S), 0.004, -3 + Between(-1.6, 1.8, S)>;
    #end
    object { Pad scale <1, 1, 1> * Between(0.16, 0.3, S) rotate y * Between(0, 360, S) translate P + y * I * 0.00012
        texture { pigment { color srgb <0.3, 0.46, 0.2> * Between(0.8, 1.3, S) } finish { ambient 0 diffuse 0.65 specular 0.25 roughness 0.03 } } }
    #if (mod(I, 8) = 1) object { Lily scale 0.17 translate P + <0.1, 0.03, 0> } #end
    #declare I = I + 1;
#end
