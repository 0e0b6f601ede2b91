// A frond of the royal fern on its herbarium sheet, as the scanner sees it.
#version 3.7;
#include "garden.inc"
global_settings { assumed_gamma 1 }
#declare S = seed(3);
camera { orthographic location <0, 10, 0> sky z right x * 3 up y * 4 look_at 0 }
light_source { <-6, 12, 6> color rgb 1.3 parallel point_at 0 area_light x * 2, z * 2, 4, 4 adaptive 1 }
plane { y, 0 texture { pigment { color srgb <0.955, 0.935, 0.875> } finish { ambient 0 diffuse 0.9 } } }
#declare Tone = srgb <0.36, 0.43, 0.2>;
#macro Stalk(A, B, R, Q) cone { A, R, B, Q Matt(srgb <0.42, 0.33, 0.17>) } #end
#macro Leaflet(P, Direction, Length, Shade)
    object { Blade(Length, Length * 0.32, 2, -1, 0.75, 0.05)
        texture { uv_mapping pigment { gradient x color_map { [0 color Tone * Shade] [0.47 color Tone * Shade * 0.85] [0.5 color Tone * 0.5] [0.53 color Tone * Shade * 0.9] [1 color Tone * Shade * 1.15] } } finish { ambient 0 diffuse 0.8 } }
        rotate y * Direction translate P + y * 0.012 }
#end
#macro Pinna(P, Direction, Length)
    #local D = vrotate(z, y * Direction);
    Stalk(P, P + D * Length, 0.008, 0.003)
    #local I = 1;
    #while (I < 9)
        #local U = I / 9;
        #local Q = P + D * Length * U;
        #local L = Length * 0.36 * (1 - 0.5 * U * U);
        Leaflet(Q, Direction + 58 + Between(-5, 5, S), L, Between(0.85, 1.25, S))
        Leaflet(Q + D * 0.03, Direction - 58 + Between(-5, 5, S), L, Between(0.85, 1.25, S))
        #local I = I + 1;
    #end
    Leaflet(P + D * Length, Direction, Length * 0.3, 1)
#end
union {
    Stalk(<0, 0.01, -1.75>, <0, 0.01, -0.6>, 0.02, 0.016)
    Stalk(<0, 0.01, -0.6>, <0, 0.01, 1.1>, 0.016, 0.006)
    #declare K = 0;
    #while (K < 5)
        Pinna(<0, 0.01, -0.85 + 0.4 * K>, 62 - 5 * K + Between(-4, 4, S), 0.98 - 0.12 * K)
        Pinna(<0, 0.01, -0.79 + 0.4 * K>, -62 + 5 * K + Between(-4, 4, S), 0.98 - 0.12 * K)
        #declare K = K + 1;
    #end
    Pinna(<0, 0.01, 1.08>, 4, 0.5)
    rotate y * 4
}
// Linen tape, and the label.
#declare I = 0;
#while (I < 3)
    box { <-0.11, 0.03, -0.02>, <0.11, 0.045, 0.02> rotate y * Between(-12, 12, S) translate <-0.11 + 0.055 * I * 1.3, 0, -1.45 + I * 1.15> Matt(srgb <0.9, 0.88, 0.8>) }
    #declare I = I + 1;
#end
#macro Line(T, Size, P, C) text { ttf "timrom.ttf" T 0.01, 0 rotate x * 90 scale <Size, 1, Size> translate P Matt(C) } #end
box { <0.42, 0, -1.82>, <1.38, 0.012, -1.36> Matt(srgb <0.985, 0.975, 0.94>) }
Line("HARROW LANE", 0.085, <0.5, 0.02, -1.5>, srgb <0.13, 0.36, 0.22>)
Line("Osmunda regalis", 0.105, <0.5, 0.02, -1.62>, srgb <0.2, 0.2, 0.2>)
Line("Fern dell   F 3", 0.08, <0.5, 0.02, -1.74>, srgb <0.45, 0.45, 0.42>)
