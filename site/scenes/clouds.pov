// Above the sea of clouds, from the summit of the Little Halberd.
#version 3.7;
#include "pass.inc"
#declare S = seed(3041 + Hour);
camera { location <-6, 506, -40> look_at <30, 520, 900> angle 56 right x * 3/2 }
fog { fog_type 2 fog_offset 300 fog_alt 160 distance 2600 color Haze }
Mountains()
// Clouds fill the valleys.
#declare Billow = function { pattern { bozo turbulence 0.5 octaves 5 omega 0.5 scale 0.045 } }
height_field { function 700, 700 { Billow(x, y, z) } smooth translate <-0.5, -0.5, 0> scale <14000, 210, 9000> translate <0, 330, 60>
    texture { pigment { color srgb <0.97, 0.97, 1> } finish { ambient 0 emission #if (Hour = 3) 0.01 #else 0.1 #end diffuse 0.72 } } }
// The summit: boulders and a cairn.
#declare Stone = array[4];
#declare Stone[0] = Boulder(S) #declare Stone[1] = Boulder(S) #declare Stone[2] = Boulder(S) #declare Stone[3] = Boulder(S)
#macro Place(I, P, Size) object { Stone[mod(I, 4)] scale Size rotate y * Between(0, 360, S) translate P StoneTexture(Between(0.75, 1.1, S)) } #end
#declare I = 0;
#while (I < 120)
    #declare Z = Between(-36, -14, S);
    #declare X = Between(-15, 9, S);
    Place(I, <X, 501.4 - 0.1 * (Z + 36) - 0.012 * (X + 5) * (X + 5), Z>, Between(0.6, 1.9, S))
    #declare I = I + 1;
#end
#declare I = 0;
#while (I < 60)
    #declare L = floor(I / 9);
    #declare A = I * 2.4;
    #declare R = 0.85 - 0.12 * L;
    Place(I, <-0.6 + R * cos(A), 501.9 + L * 0.34, -24 + R * sin(A)>, <Between(0.3, 0.46, S), 0.26, Between(0.3, 0.46, S)>)
    #declare I = I + 1;
#end
Place(1, <-0.6, 504.2, -24>, <0.3, 0.4, 0.3>)
cylinder { <-0.6, 502, -24>, <-0.55, 506.1, -24>, 0.045 Wood(srgb <0.4, 0.32, 0.25>) }
