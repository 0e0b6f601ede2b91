// Larches on the path to the pass, in October.
#version 3.7;
#include "pass.inc"
#declare S = seed(41);
camera { location <-1, 2, -14> look_at <2, 7.5, 30> angle 56 right x * 3/2 }
Air(13000)
object { Mountains() rotate y * 10 translate <-100, -60, -300> }
#macro PathX(Z) (2.2 * sin(Z * 0.07)) #end
height_field { function 200, 200 { pattern { bozo scale 0.14 } } smooth translate <-0.5, -0.5, 0> scale <120, 2, 120> translate <0, -0.5, 20>
    texture { pigment { bozo turbulence 0.5 color_map { [0 color srgb <0.5, 0.4, 0.16>] [0.6 color srgb <0.46, 0.42, 0.18>] [1 color srgb <0.6, 0.45, 0.2>] } scale 2 } finish { ambient 0 diffuse 0.65 } } }
#declare Gold = Fir(srgb <0.8, 0.52, 0.12>, S)
#declare Amber = Fir(srgb <0.82, 0.42, 0.1>, S)
#declare Green = Fir(srgb <0.16, 0.24, 0.11>, S)
#declare I = 0;
#while (I < 110)
    #declare Z = Between(-4, 90, S);
    #declare X = Between(4, 42, S) * (1 - 2 * mod(I, 2)) + PathX(Z);
    object { #switch (mod(I, 5)) #case (0) Amber #break #case (1) Green #break #else Gold #end scale <1.15, 1, 1.15> * Between(6, 15, S) rotate y * Between(0, 360, S) translate <X, -0.6, Z> }
    #declare I = I + 1;
#end
#declare Tuft = GrassTuft(320, 0.3, S)
#declare I = 0;
#while (I < 520)
    #declare Z = -12.5 + 34 * pow(rand(S), 1.4);
    #declare X = Between(1, 12, S) * (1 - 2 * mod(I, 2));
    object { Tuft rotate y * Between(0, 360, S) scale <1.3, 1, 1.3> translate <PathX(Z) + X, -0.1, Z>
        texture { pigment { color srgb <0.58, 0.46, 0.2> * Between(0.7, 1.2, S) } finish { ambient 0 diffuse 0.6, 0.25 } } }
    #declare I = I + 1;
#end
#declare Stone = array[3];
#declare Stone[0] = Boulder(S) #declare Stone[1] = Boulder(S) #declare Stone[2] = Boulder(S)
#declare I = 0;
#while (I < 320)
    #declare Z = -12.5 + 0.16 * I;
    object { Stone[mod(I, 3)] scale <Between(0.2, 0.42, S), 0.14, Between(0.2, 0.4, S)> * #if (mod(I, 17) = 0) 1.8 #else 1 #end rotate y * Between(0, 360, S) translate <PathX(Z) + Between(-0.8, 0.8, S), -0.02, Z> StoneTexture(Between(0.85, 1.15, S)) }
    #declare I = I + 1;
#end
// A signpost where the path forks.
union {
    cylinder { 0, y * 2.5, 0.06 Wood(srgb <0.45, 0.36, 0.27>) }
    prism { 0, 0.04, 6, <0.05, 0>, <1.1, 0>, <1.3, 0.12>, <1.1, 0.24>, <0.05, 0.24>, <0.05, 0> rotate -x * 90 translate <0, 2.05, 0> Matt(srgb <0.9, 0.72, 0.12>) }
    prism { 0, 0.04, 6, <-0.05, 0>, <-1, 0>, <-1.2, 0.12>, <-1, 0.24>, <-0.05, 0.24>, <-0.05, 0> rotate -x * 90 translate <0, 1.7, 0> Matt(srgb <0.9, 0.72, 0.12>) }
    rotate y * 12 translate <2.3, -0.1, -6.5>
}
