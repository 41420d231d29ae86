struct Q { float4 c; }; float4 Q;
float4 vertexMain(float4 p : POSITION) : POSITION { return p * Q; }
float4 pixelMain() : COLOR0 { return 1; }
