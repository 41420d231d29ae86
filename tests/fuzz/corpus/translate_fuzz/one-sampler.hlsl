// A thin ring of light around the sun; v runs across it. It fades as it grows: Strength comes from the scene.
//
//[QUAB_BEGIN]
//config baseMaterial : onetexture_blend
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float Strength : 0.5; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float Strength;

struct VertexOut {
    float4 position : POSITION;
    float2 uv : TEXCOORD0;
};

VertexOut vertexMain(float4 position : POSITION, float2 uv : TEXCOORD0) {
    VertexOut result;
    result.position = mul(position, WorldViewProjection);
    result.uv = uv;
    return result;
}

float4 pixelMain(float2 uv : TEXCOORD0) : COLOR0 {
    float across = 1.0 - abs(uv.y * 2.0 - 1.0);
    return float4(float3(1.0, 0.85, 0.62) * Strength * across * across, 0.15 * Strength * across);
}
