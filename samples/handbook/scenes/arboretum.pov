// The path through the arboretum in October, from the gate.
#version 3.7;
#include "garden.inc"
global_settings { assumed_gamma 1 max_trace_level 4 }
#declare S = seed(40);
camera { location <-0.6, 1.6, -9> look_at <0.5, 2.3, 10> angle 54 right x * 4/3 }
light_source { <70, 75, 60> color srgb <1, 0.86, 0.62> * 3 }
light_source { <-60, 90, -120> color srgb <0.6, 0.72, 0.95> * 0.75 shadowless }
Sky(srgb <0.36, 0.58, 0.86>, srgb <0.93, 0.9, 0.82>, srgb <1, 0.97, 0.92>)
fog { fog_type 2 fog_offset 0 fog_alt 3 distance 150 color srgb <0.95, 0.88, 0.72> }

#declare Ball = LeafBall(300, 0.3, S)
#declare Tuft = GrassTuft(420, 0.1, S)
#declare Bark = srgb <0.34, 0.28, 0.23>;
#declare Gold = Tree(Ball, srgb <0.78, 0.55, 0.14>, Bark, 170, S)
#declare Amber = Tree(Ball, srgb <0.74, 0.38, 0.12>, Bark, 150, S)
#declare Red = Tree(Ball, srgb <0.6, 0.2, 0.11>, Bark, 150, S)
#declare Green = Tree(Ball, srgb <0.36, 0.45, 0.15>, Bark, 170, S)

#macro PathX(Z) (1.6 * sin(Z * 0.09)) #end
plane { y, 0 texture { pigment { bozo turbulence 0.5 color_map { [0 color srgb <0.36, 0.45, 0.16>] [0.7 color srgb <0.46, 0.5, 0.2>] [1 color srgb <0.56, 0.46, 0.2>] } scale 1.2 } finish { ambient 0 diffuse 0.6 } } }
sphere_sweep { cubic_spline 12,
    #declare I = -2;
    #while (I < 10)
        <PathX(I * 6), -0.1, I * 6>, 1.25
        #declare I = I + 1;
    #end
    scale <1, 0.1, 1>
    texture { pigment { granite color_map { [0 color srgb <0.46, 0.39, 0.31>] [0.6 color srgb <0.56, 0.48, 0.38>] [1 color srgb <0.38, 0.31, 0.25>] } scale 0.4 }
        normal { granite 0.3 scale 0.1 } finish { ambient 0 diffuse 0.7 } } }
#macro Plant(Kind, X, Z, Height) object { Kind rotate y * Between(0, 360, S) scale Height translate <PathX(Z) + X, 0, Z> } #end
Plant(Gold, -4.6, 3, 8) Plant(Red, 4.8, 6.5, 7.5) Plant(Amber, -5, 11, 9) Plant(Gold, 5.2, 15, 9.5) Plant(Red, -5.4, 20, 9) Plant(Gold, 4.6, 24, 9)
Plant(Amber, -4.6, 29, 10) Plant(Green, 5.2, 33, 10) Plant(Gold, -5, 38, 10) Plant(Amber, 8, 42, 11)
Plant(Green, -11, 9, 10) Plant(Green, 11, 11, 10) Plant(Amber, 12, 22, 12) Plant(Green, -12, 24, 12) Plant(Red, 13, 34, 11) Plant(Gold, -13, 36, 12)
#declare I = 0;
#while (I < 22)
    object { #if (mod(I, 3)) Green #else Gold #end rotate y * Between(0, 360, S) scale Between(9, 14, S) translate <-44 + I * 4, -1, Between(50, 60, S)> }
    #declare I = I + 1;
#end
// Grass on both sides, fallen leaves everywhere.
#declare I = 0;
#while (I < 700)
    #declare Z = -7.5 + 16 * pow(rand(S), 1.3);
    #declare X = Between(1.5, 8, S) * (1 - 2 * mod(I, 2));
    object { Tuft rotate y * Between(0, 360, S) translate <PathX(Z) + X, 0, Z> GrassTexture(1.15, S) }
    #declare I = I + 1;
#end
#declare Leaf = object { Blade(1, 0.6, 10, -25, 0.9, 0.4) }
#declare I = 0;
#while (I < 2600)
    #declare Z = -7.6 + 30 * pow(rand(S), 1.6);
    #declare X = Between(-5, 5, S);
    object { Leaf scale Between(0.06, 0.1, S) rotate <Between(-30, 20, S), Between(0, 360, S), Between(-30, 30, S)>
        translate <PathX(Z) + X, #if (abs(X) < 1.3) 0.128 #else 0.09 #end, Z>
        texture { pigment { color srgb <Between(0.55, 0.85, S), Between(0.25, 0.58, S), 0.1> } finish { ambient 0 diffuse 0.6, 0.3 } } }
    #declare I = I + 1;
#end
// A bench.
union {
    #declare I = 0;
    #while (I < 3)
        box { <-0.8, 0.42, 0.16 * I>, <0.8, 0.46, 0.16 * I + 0.12> }
        box { <-0.8, 0.58 + 0.14 * I, 0.5 + 0.03 * I>, <0.8, 0.68 + 0.14 * I, 0.53 + 0.03 * I> }
        #declare I = I + 1;
    #end
    box { <-0.72, 0, 0>, <-0.64, 0.42, 0.1> } box { <0.64, 0, 0>, <0.72, 0.42, 0.1> }
    box { <-0.72, 0, 0.46>, <-0.64, 0.95, 0.54> } box { <0.64, 0, 0.46>, <0.72, 0.95, 0.54> }
    Matt(srgb <0.46, 0.36, 0.26>)
    rotate y * -62 translate <-1.7, 0, -1.2>
}
