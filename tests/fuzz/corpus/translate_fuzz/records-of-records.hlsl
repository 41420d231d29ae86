struct A{float a[4096];}; struct B{A a[4096];};
float4 pixelMain(B b : TEXCOORD0) : COLOR0 { B c = (B)0; return c.a[0].a[0]; }
void vertexMain(float4 p : POSITION, out float4 o : POSITION) { o = p; }
