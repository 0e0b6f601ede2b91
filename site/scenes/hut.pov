// The hut on its terrace below the Halberd.
#version 3.7;
#include "pass.inc"
#declare S = seed(1934 + Hour);
#ifndef (Close) #declare Close = 0; #end
#if (Close) camera { location <-7.6, 1.5, -5.4> look_at <0.3, 2.5, 2.6> angle 56 right x * 3/2 }
#else camera { location <-13, 2.1, -25> look_at <1.5, 6.4, 0> angle 52 right x * 3/2 } #end
Air(15000)
object { Mountains() rotate y * 14 translate <-300, -20, -500> }
#declare Swell = function { pattern { bozo scale 0.11 } }
#declare Turfy = texture { pigment { #if (Winter) color srgb <0.93, 0.95, 0.99> #else bozo turbulence 0.6 color_map { [0 color srgb <0.25, 0.34, 0.13>] [0.6 color srgb <0.35, 0.42, 0.17>] [1 color srgb <0.45, 0.44, 0.22>] } scale 1.4 #end }
    normal { bumps 0.25 scale 0.4 } finish { ambient 0 diffuse 0.66 } }
height_field { function 260, 260 { 0.5 + 0.5 * (Swell(x, y, z) - 0.5) * min(1, 9 * ((x - 0.5) * (x - 0.5) + (y - 0.42) * (y - 0.42))) }
    smooth translate <-0.5, -0.5, -0.5> scale <150, 9, 120> translate <0, 0, 22> texture { Turfy } }
#declare Lit = (Hour >= 2);
object { Hut(Lit) rotate y * -16 }
#if (!Close)
    #declare FirA = Fir(srgb <0.1, 0.17, 0.1>, S)
    #declare FirB = Fir(srgb <0.14, 0.2, 0.11>, S)
    #declare I = 0;
    #while (I < 30)
        #declare X = Between(9, 46, S) * (1 - 2 * (mod(I, 5) = 0)) - 4;
        object { #if (mod(I, 2)) FirA #else FirB #end scale Between(5, 12, S) rotate y * Between(0, 360, S) translate <X, -0.8, Between(7, 40, S)> }
        #declare I = I + 1;
    #end
#end
#declare Stone = array[3];
#declare Stone[0] = Boulder(S) #declare Stone[1] = Boulder(S) #declare Stone[2] = Boulder(S)
#declare I = 0;
#while (I < 40)
    object { Stone[mod(I, 3)] scale Between(0.1, 0.5, S) * (1 + (mod(I, 9) = 0)) translate <Between(-14, 12, S), -0.05, Between(-22, -7, S)>
        #if (Winter) texture { pigment { slope { y, 0, 1 } color_map { [0.55 color srgb <0.4, 0.39, 0.38>] [0.66 color srgb <0.93, 0.95, 0.99>] } } finish { ambient 0 diffuse 0.7 } } #else StoneTexture(Between(0.8, 1.2, S)) #end }
    #declare I = I + 1;
#end
#if (!Winter)
    #declare Tuft = GrassTuft(260, 0.22, S)
    #declare I = 0;
    #while (I < 900)
        #declare Z = -22.5 + 24 * pow(rand(S), 1.4);
        #declare X = Between(-16, 14, S);
        #if (abs(X - 0.6 - Z * 0.3) > 0.9) object { Tuft rotate y * Between(0, 360, S) translate <X, -0.05, Z> GrassTexture(Between(0.8, 1.25, S), S) } #end
        #declare I = I + 1;
    #end
    // The path to the door.
    #declare I = 0;
    #while (I < 150)
        #declare Z = -21 + 0.135 * I;
        object { Stone[mod(I, 3)] scale <Between(0.25, 0.45, S), 0.07, Between(0.2, 0.36, S)> rotate y * Between(0, 360, S) translate <0.6 + Z * 0.3 + Between(-0.65, 0.65, S), 0.03, Z> StoneTexture(Between(1, 1.25, S)) }
        #declare I = I + 1;
    #end
#else
    // Falling snow.
    #if (Hour >= 2)
        #declare I = 0;
        #while (I < 1500)
            sphere { <Between(-17, 8, S), Between(0, 12, S), Between(-23, -4, S)>, Between(0.008, 0.02, S) pigment { color srgbt <1, 1, 1, 0.2> } finish { emission 0.28 diffuse 0.8 } }
            #declare I = I + 1;
        #end
    #end
#end
// Bunting from the balcony to a mast.
#if (!Close)
#declare I = 0;
#while (I < 22)
    #declare U = I / 21;
    triangle { <-0.16, 0, 0>, <0.16, 0, 0>, <0, -0.36, Between(-0.12, 0.12, S)> rotate y * 30
        translate <-5.4 - 6 * U, 3.4 + 0.9 * U - 1.6 * U * (1 - U), -1 - 5 * U>
        pigment { color #switch (mod(I, 4)) #case (0) srgb <0.75, 0.15, 0.12> #break #case (1) srgb <0.95, 0.85, 0.4> #break #case (2) srgb <0.2, 0.4, 0.6> #break #else srgb <0.95, 0.94, 0.9> #end } finish { ambient 0 diffuse 0.7, 0.3 } }
    #declare I = I + 1;
#end
cylinder { <-11.5, -1, -6.1>, <-11.5, 4.6, -6.1>, 0.07 Wood(srgb <0.4, 0.32, 0.25>) }
#end
