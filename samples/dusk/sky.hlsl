// The sky at dusk, worked out for each pixel: the last light behind the mountains ahead, and clouds on a flat
// ceiling that it reaches from below. Late goes from 0, after sunset, to 1 in the blue hour.
//
//[QUAB_BEGIN]
//config baseMaterial : solid
//texture 0 : clouds.jpg
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 World : WorldTranspose;
//float4 ViewPosition : ViewPosition; pixel
//float Time : Time0_X; pixel
//float Late : 0.0; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float4x4 World;
float4 ViewPosition;
float Time;
float Late;

sampler2D Clouds = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};

struct VertexOut {
    float4 position : POSITION;
    float3 place : TEXCOORD0;
};

VertexOut vertexMain(float4 position : POSITION) {
    VertexOut result;
    result.position = mul(position, WorldViewProjection);
    result.place = mul(position, World).xyz;
    return result;
}

float4 pixelMain(float3 place : TEXCOORD0) : COLOR0 {
    float3 look = normalize(place - ViewPosition.xyz);
    float near = saturate(dot(look, float3(0.3903, 0.0392, 0.9198)));
    float up = saturate(look.y);

    float3 color = lerp(float3(0.420, 0.310, 0.475), float3(0.145, 0.180, 0.384), saturate(up * 3.2));
    color = lerp(color, float3(0.024, 0.043, 0.125), saturate(up * 1.5 - 0.3));
    float low = saturate(1.0 - up * 2.6);
    low *= low;
    float wide = pow(near, 4.0) * low;
    float close = pow(near, 26.0) * low;
    color += float3(0.62, 0.24, 0.0) * wide + float3(0.40, 0.34, 0.14) * close;

    float2 ceiling = look.xz / (up + 0.10) * float2(0.05, 0.16) + Time * float2(0.003, 0.001);
    float cover = smoothstep(0.46, 0.74, tex2D(Clouds, ceiling).r) * saturate(up * 9.0 - 0.4);
    float3 shone = lerp(float3(0.20, 0.17, 0.32), float3(1.0, 0.50, 0.36), saturate(near * near * low * 1.8));
    color = lerp(color, shone, cover * 0.66);
    color = lerp(color, color * float3(0.16, 0.30, 0.62) + float3(0.0, 0.012, 0.05), Late);
    return float4(color, 0.22 * close * (1.0 - Late));
}
