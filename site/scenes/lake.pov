// The Halberd over Lake Mirrin, from the landing stage.
#version 3.7;
#include "pass.inc"
#declare S = seed(2184 + Hour);
camera { location <0, 3.2, -60> look_at <40, 118, 900> angle 58 right x * 3/2 }
#declare Far = #if (Hour = 0) 9000; #else 15000; #end
Air(Far)
Mountains()
#if (Winter)
    plane { y, 0 texture { pigment { bozo turbulence 0.5 color_map { [0.3 color srgb <0.9, 0.93, 0.98>] [0.75 color srgb <0.83, 0.88, 0.94>] [0.8 color srgb <0.5, 0.64, 0.7>] } scale <60, 1, 22> } normal { bumps 0.15 scale <5, 1, 2> } finish { ambient 0 diffuse 0.75 specular 0.1 } } }
#else
    plane { y, 0 texture { pigment { color srgb <0.02, 0.06, 0.06> }
        normal { average normal_map { [1 bumps #if (Hour = 1) 0.2 #else 0.03 #end scale <4, 1, 1.2>] [1 bumps 0.06 scale <22, 1, 5>] } }
        finish { ambient 0 diffuse 0.3 reflection { 0.15, 0.96 fresnel on } specular 0.3 roughness 0.003 conserve_energy } } interior { ior 1.33 } }
#end
// Firs on the far shore and on the point at the left.
#declare FirA = Fir(srgb <0.1, 0.17, 0.1>, S)
#declare FirB = Fir(srgb <0.14, 0.2, 0.11>, S)
#declare I = 0;
#while (I < 700)
    #declare Z = 500 + 1100 * pow(rand(S), 0.8);
    #declare X = Between(-1, 1, S) * Z * 0.62;
    #declare Y = Land(X / 1000, Z / 1000, 0) * 1000;
    #if (Y > 3 & Y < 260 * rand(S)) object { #if (mod(I, 2)) FirA #else FirB #end scale Between(12, 24, S) rotate y * Between(0, 360, S) translate <X, Y - 1, Z> } #end
    #declare I = I + 1;
#end
height_field { function 120, 120 { pattern { bozo scale 0.12 } } smooth translate <-0.5, -0.55, -0.5> scale <46, 4.2, 60> translate <-40, -0.1, 10>
    texture { pigment { #if (Winter) color srgb <0.92, 0.94, 0.98> #else color srgb <0.24, 0.29, 0.12> #end } normal { granite 0.3 } finish { ambient 0 diffuse 0.7 } } }
#declare I = 0;
#while (I < 26)
    object { #if (mod(I, 2)) FirA #else FirB #end scale Between(6, 15, S) rotate y * Between(0, 360, S) translate <-50 + Between(-7, 22, S), 0, Between(2, 30, S)> }
    #declare I = I + 1;
#end
// Stones at the water's edge.
#declare Stone = array[3];
#declare Stone[0] = Boulder(S) #declare Stone[1] = Boulder(S) #declare Stone[2] = Boulder(S)
#declare I = 0;
#while (I < 46)
    #declare Z = Between(-54, -44, S);
    object { Stone[mod(I, 3)] scale Between(0.15, 0.6, S) * (1 + 0.5 * (mod(I, 7) = 0)) rotate y * Between(0, 360, S) translate <Between(-8, 1.5, S) - (Z + 54) * 0.3, -0.05, Z>
        #if (Winter & mod(I, 2)) texture { pigment { slope { y, 0, 1 } color_map { [0.55 color srgb <0.4, 0.39, 0.38>] [0.68 color srgb <0.93, 0.95, 0.99>] } } finish { ambient 0 diffuse 0.7 } } #else StoneTexture(Between(0.6, 1, S)) #end }
    #declare I = I + 1;
#end
#if (Hour = 1 & !Winter)
    // The rowing boat, moored to the stage.
    #declare Hull = difference {
        sphere { 0, 1 scale <0.75, 0.55, 2.3> }
        sphere { 0, 1 scale <0.68, 0.5, 2.2> }
        box { <-2, 0.12, -4>, <2, 2, 4> }
    }
    union {
        object { Hull Wood(srgb <0.62, 0.2, 0.12>) }
        box { <-0.62, -0.02, -0.2>, <0.62, 0.03, 0.15> Wood(srgb <0.66, 0.5, 0.33>) }
        box { <-0.5, -0.02, 1.1>, <0.5, 0.03, 1.35> Wood(srgb <0.66, 0.5, 0.33>) }
        cylinder { <-0.9, 0.16, -1.2>, <0.3, 0.12, 1.4>, 0.03 Wood(srgb <0.7, 0.55, 0.36>) }
        rotate y * 62 translate <2.2, 0.16, -41>
    }
    union {
        #declare I = 0;
        #while (I < 22) box { <6 - 0.8, 0.55, -60 + I>, <6 + 0.8, 0.62, -60 + I + 0.9> Wood(srgb <0.5, 0.44, 0.37> * Between(0.85, 1.1, S)) #declare I = I + 1; } #end
        #declare I = 0;
        #while (I < 8) cylinder { <5.25, -1, -59 + I * 3>, <5.25, 0.9, -59 + I * 3>, 0.1 } cylinder { <6.75, -1, -59 + I * 3>, <6.75, 0.9, -59 + I * 3>, 0.1 } #declare I = I + 1; #end
        Wood(srgb <0.36, 0.32, 0.28>)
    }
#end
