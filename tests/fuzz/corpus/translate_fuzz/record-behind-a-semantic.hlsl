typedef float4 color_t; typedef struct { float4 q; } T;
float4 vertexMain(float4 p : POSITION) : POSITION  T{ T t; t.q = p; return t.q; }
color_t pixelMain() : COLOR0 { color_t c = 1; return c; }
