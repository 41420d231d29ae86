// Rays around the sun: a flat disc of radius 1 whose light is streaked from the middle outwards and drifts.
//
//[QUAB_BEGIN]
//config baseMaterial : onetexture_blend
//texture 0 : clouds.jpg
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float Time : Time0_X; pixel
//float Strength : 0.3; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float Time;
float Strength;

sampler2D Streaks = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};

struct VertexOut {
    float4 position : POSITION;
    float2 place : TEXCOORD0;
};

VertexOut vertexMain(float4 position : POSITION) {
    VertexOut result;
    result.position = mul(position, WorldViewProjection);
    result.place = position.xy;
    return result;
}

float4 pixelMain(float2 place : TEXCOORD0) : COLOR0 {
    float range = length(place);
    float2 way = place / range;
    float coarse = tex2D(Streaks, way * 0.35 + Time * 0.008).r;
    float fine = tex2D(Streaks, way * 1.1 - Time * 0.013).r;
    float streak = smoothstep(0.36, 0.72, coarse * 0.6 + fine * 0.4);
    float fade = saturate(1.0 - range);
    float light = Strength * streak * fade * fade;
    return float4(float3(1.0, 0.66, 0.38) * light, 0.0);
}
