// The queen of the night opens: +KFF frames from dusk (clock 0) to midnight (clock 1).
#version 3.7;
#include "garden.inc"
global_settings { assumed_gamma 1 max_trace_level 4 }
#declare S = seed(5);
#declare Open = clock * clock * (3 - 2 * clock);
camera { location <0.5 * sin(-0.5 + 0.5 * clock), 0.42, -0.95 + 0.12 * clock> look_at <0, 0.2, 0> angle 36 right x * 4/3 }
light_source { <-2.5, 4, -3> color srgb <0.8, 0.88, 1> * (1.5 - 0.35 * clock) area_light x, y, 3, 3 adaptive 1 }
light_source { <2, 1.5, -2> color srgb <1, 0.78, 0.5> * 0.65 }
light_source { <0.5, 2, 3> color srgb <0.5, 0.65, 1> * 0.7 shadowless }
background { color srgb <0.06, 0.09, 0.15> }

union {
    // One Blade a petal: closed it stands upright, open it leans out and back.
    #declare Ring = 0;
    #while (Ring < 4)
        #declare Late = max(0, min(1, Open * 1.5 - 0.12 * (3 - Ring) * 0.9));
        #declare I = 0;
        #while (I < 13)
            #declare Wobble = Between(-4, 4, S);
            #if (Ring = 0)
                object { Blade(0.2, 0.02, 74 - 66 * Late + Wobble, 104 - 150 * Late + Wobble, 0.9, 0.3)
                    BladeTexture(srgb <0.5, 0.42, 0.16>, srgb <0.78, 0.6, 0.3>)
                    translate z * 0.018 rotate y * (I * 360 / 13) }
            #else
                object { Blade(0.2 - 0.012 * Ring, 0.062, 84 - (58 - 13 * Ring) * Late + Wobble, 102 - (84 - 18 * Ring) * Late + Wobble, 1, 0.45)
                    BladeTexture(srgb <0.86, 0.9, 0.7>, srgb <0.97, 0.97, 0.92>)
                    translate z * (0.02 - 0.003 * Ring) rotate y * (I * 360 / 13 + Ring * 9) }
            #end
            #declare I = I + 1;
        #end
        #declare Ring = Ring + 1;
    #end
    #declare I = 0;
    #while (I < 60)
        #declare A = I * 2.39996;
        #declare R = (0.006 + 0.045 * Open) * sqrt(I / 60);
        #declare H = 0.1 + 0.02 * Open;
        cylinder { <R * 0.3 * cos(A), 0, R * 0.3 * sin(A)>, <R * cos(A), H - R * 0.4, R * sin(A)>, 0.0009 Matt(srgb <0.95, 0.95, 0.8>) }
        sphere { <R * cos(A), H - R * 0.4, R * sin(A)>, 0.0035 Matt(srgb <0.95, 0.78, 0.25>) }
        #declare I = I + 1;
    #end
    sphere_sweep { cubic_spline 6, <0, 0.06, 0>, 0.02, <0, 0.01, 0>, 0.022, <0, -0.05, 0.01>, 0.013, <0.02, -0.14, 0.06>, 0.011,
        <0.08, -0.22, 0.2>, 0.012, <0.1, -0.3, 0.3>, 0.012 Matt(srgb <0.42, 0.46, 0.22>) }
    rotate x * -32
    translate y * 0.2
}
// Stems that climb the wall of the glasshouse, and its panes.
#declare I = 0;
#while (I < 5)
    #declare X = -0.5 + 0.22 * I;
    sphere_sweep { cubic_spline 6, <X, -0.5, 0.4>, 0.016, <X + 0.03, -0.2, 0.34>, 0.016, <X - 0.06, 0.08, 0.4>, 0.015,
        <X + 0.07, 0.36, 0.36>, 0.014, <X, 0.7, 0.42>, 0.013, <X, 0.9, 0.4>, 0.012
        texture { pigment { color srgb <0.2, 0.34, 0.2> } normal { gradient y 0.6 scale 0.05 } finish { ambient 0 diffuse 0.7 specular 0.2 } } }
    #declare I = I + 1;
#end
plane { -z, -0.9 texture { pigment { gradient y color_map { [0 color srgb <0.1, 0.16, 0.24>] [1 color srgb <0.2, 0.3, 0.48> * (1 - 0.6 * clock)] } scale 2 translate -y } finish { ambient 0 emission 0.8 diffuse 0.1 } } }
#declare I = -3;
#while (I < 4)
    box { <I * 0.42 - 0.012, -2, 0.8>, <I * 0.42 + 0.012, 2, 0.84> Matt(srgb <0.5, 0.54, 0.5>) }
    #declare I = I + 1;
#end
box { <-3, 0.52, 0.79>, <3, 0.55, 0.84> Matt(srgb <0.5, 0.54, 0.5>) }
