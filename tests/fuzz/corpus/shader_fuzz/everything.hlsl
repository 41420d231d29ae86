H// A surface of the final pass.
#define SCALE 2.0
#define COLOR_OF(r, g, b) float3(r / 255.0, g / 255.0, b / 255.0)
#if defined(SCALE) && SCALE != 3
texture SurfaceTexture < string ResourceName = "a.png"; >;
#endif
float4x4 WorldViewProjection : WORLDVIEWPROJECTION; float3 Tint = COLOR_OF(255, 127.5, 0);
float4 Weights[3] = { {1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12} };
static const float PI = 3.1415926; float Turn = PI * SCALE; bool Flag = true; int Count = 3;
struct Light { float4 position; float3 color; }; Light lights[2];
sampler2D ColorMap : register(s1) = sampler_state { Texture = <SurfaceTexture>; MinFilter = Linear; AddressU = Clamp; };
sampler Sky;
struct VertexOut { float4 position : POSITION; float2 uv : TEXCOORD0; float3 normal : TEXCOORD1; };
VertexOut vertexMain(float4 position : POSITION, float3 normal : NORMAL, float2 uv : TEXCOORD0) {
    VertexOut result;
    result.position = mul(position, WorldViewProjection);
    result.uv = uv * SCALE; result.normal = mul(normal, (float3x3)WorldViewProjection);
    return result;
}
float4 pixelMain(VertexOut input, float2 where : VPOS, float face : VFACE) : COLOR0 {
    float4 sum = tex2D(ColorMap, input.uv) * float4(Tint, 1) + texCUBE(Sky, input.normal);
    for (int i = 0; i < Count; i++) sum += Weights[i] * fmod(input.uv.x, Turn) * lights[1].position;
    if (Flag && face > 0) sum.xy += where; else clip(sum.a - 0.5);
    return saturate(sum) / (1 + dot(sum, sum));
}
technique Surface { pass First { VertexShader = compile vs_2_0 vertexMain(); PixelShader = compile ps_2_0 pixelMain(); } }
