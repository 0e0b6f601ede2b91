// Flowers on the alp: arnica in July, gentians in May.
#version 3.7;
#include "pass.inc"
#ifndef (Gentian) #declare Gentian = 0; #end
#declare S = seed(77 + Gentian);
#if (Gentian) camera { location <0, 0.5, -1.5> look_at <0.02, 0.16, 0> angle 44 right x * 3/2 aperture 0.05 blur_samples 10 focal_point <0, 0.2, -0.1> confidence 0.8 variance 0.01 }
#else camera { location <0, 0.62, -2.4> look_at <0, 0.86, 2> angle 54 right x * 3/2 } #end
Air(15000)
object { Mountains() rotate y * -8 translate <100, -120, -650> }
plane { y, 0 texture { pigment { bozo color_map { [0 color srgb <0.2, 0.3, 0.1>] [1 color srgb <0.34, 0.42, 0.16>] } scale 0.3 } finish { ambient 0 diffuse 0.6 } }
    clipped_by { box { <-200, -1, -10>, <200, 1, 160> } } }
#declare Height = #if (Gentian) 0.13; #else 0.3; #end
#declare Tuft = GrassTuft(360, Height, S)
#declare Tall = GrassTuft(60, 0.5, S)
#declare Count = #if (Gentian) 60; #else 700; #end
#declare Reach = #if (Gentian) 3; #else 14; #end
#declare I = 0;
#while (I < Count)
    #declare Z = -2.2 + Reach * pow(rand(S), 1.5);
    object { Tuft rotate y * Between(0, 360, S) translate <Between(-1, 1, S) * (1.2 + 0.75 * (Z + 2.2)), 0, Z> GrassTexture(Between(0.75, 1.15, S), S) }
    #if (!Gentian & mod(I, 4) = 0) object { Tall rotate y * Between(0, 360, S) translate <Between(-1, 1, S) * (1.2 + 0.75 * (Z + 2.2)), 0, Z + 1> GrassTexture(1.2, S) } #end
    #declare I = I + 1;
#end
#if (Gentian)
    #declare Flower = union {
        #declare I = 0;
        #while (I < 5)
            object { Blade(1, 0.74, 62, -2, 0.9, 0.35) BladeTexture(srgb <0.05, 0.07, 0.45>, srgb <0.14, 0.2, 0.82>) rotate y * I * 72 }
            object { Blade(0.45, 0.16, 60, 20, 0.9, 0.3) BladeTexture(srgb <0.4, 0.45, 0.8>, srgb <0.16, 0.2, 0.7>) rotate y * (I * 72 + 36) }
            #declare I = I + 1;
        #end
        sphere { 0, 0.14 scale <1, 0.4, 1> Matt(srgb <0.92, 0.94, 0.98>) }
        cone { -y * 1.2, 0.13, 0, 0.2 Matt(srgb <0.12, 0.13, 0.4>) }
        #declare I = 0;
        #while (I < 7) object { Blade(0.8, 0.36, 35, 70, 0.8, 0.4) Matt(srgb <0.26, 0.4, 0.14>) rotate y * I * 51 translate -y * 1.5 } #declare I = I + 1; #end
    }
    #declare I = 0;
    #while (I < 64)
        #declare Z = -0.75 + 2.4 * pow(rand(S), 1.3);
        object { Flower scale Between(0.045, 0.07, S) rotate <Between(-42, 0, S), Between(0, 360, S), Between(-16, 16, S)> translate <Between(-0.8, 0.8, S) * (1 + 0.4 * (Z + 0.8)), Between(0.1, 0.17, S), Z> }
        #declare I = I + 1;
    #end
#else
    #declare Head = Daisy(srgb <0.98, 0.62, 0.05>, srgb <1, 0.78, 0.1>, 15, S)
    #declare White = Daisy(srgb <0.98, 0.96, 0.9>, srgb <1, 1, 1>, 19, S)
    #declare I = 0;
    #while (I < 130)
        #declare Z = -1.3 + 12 * pow(rand(S), 1.7);
        #declare X = Between(-1, 1, S) * (0.9 + 0.7 * (Z + 1.3));
        #declare H = Between(0.3, 0.6, S);
        cone { <X, 0, Z>, 0.008, <X + 0.02, H, Z>, 0.005 Matt(srgb <0.3, 0.42, 0.16>) }
        object { #if (mod(I, 3)) Head #else White #end scale Between(0.05, 0.075, S) rotate <Between(-50, -5, S), Between(-60, 60, S), 0> translate <X + 0.02, H, Z> }
        #declare I = I + 1;
    #end
    #declare Bell = sphere { 0, 1 scale <0.02, 0.03, 0.02> }
    #declare I = 0;
    #while (I < 300)
        #declare Z = -1 + 10 * pow(rand(S), 1.5);
        #declare X = Between(-1, 1, S) * (1 + 0.75 * (Z + 1.3));
        object { Bell translate <X, Between(0.2, 0.4, S), Z> Matt(srgb <Between(0.35, 0.6, S), 0.3, 0.75>) }
        #declare I = I + 1;
    #end
#end
