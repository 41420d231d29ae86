// The sky of the dawn, worked out for each pixel. SunHeight is that of the sun's disc in the world; Rise goes
// from 0 before the sunrise to 1 in full light. Clouds are a picture that tiles, on a flat ceiling.
//
//[QUAB_BEGIN]
//config baseMaterial : solid
//texture 0 : clouds.jpg
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 World : WorldTranspose;
//float4 ViewPosition : ViewPosition; pixel
//float Time : Time0_X; pixel
//float SunHeight : 100; pixel
//float Rise : 1.0; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float4x4 World;
float4 ViewPosition;
float Time;
float SunHeight;
float Rise;

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

// Straight ramps: with smooth ones the program would not fit the profile.
float3 gradient(float up) {
    float3 color = lerp(float3(1.0, 0.62, 0.29), float3(1.0, 0.435, 0.38), saturate(up * 11.0));
    color = lerp(color, float3(0.784, 0.314, 0.431), saturate(up * 8.0 - 0.6));
    color = lerp(color, float3(0.478, 0.231, 0.525), saturate(up * 5.6 - 1.0));
    return lerp(color, float3(0.20, 0.13, 0.43), saturate(up * 1.5 - 0.42));
}

float4 pixelMain(float3 place : TEXCOORD0) : COLOR0 {
    float3 look = normalize(place - ViewPosition.xyz);
    float3 sun = normalize(float3(0.0, SunHeight, 1680.0) - ViewPosition.xyz);
    float near = saturate(dot(look, sun));
    float up = saturate(look.y);

    float3 color = gradient(up) * lerp(float3(0.50, 0.42, 0.72), float3(1.0, 1.0, 1.0), Rise);
    float wide = pow(near, 7.0);
    float close = pow(near, 70.0);
    color += float3(0.26, 0.08, 0.03) * wide * Rise + float3(0.30, 0.22, 0.18) * close * Rise;

    float2 ceiling = look.xz / (up + 0.09) * float2(0.10, 0.16) + Time * float2(0.004, 0.002);
    float cover = smoothstep(0.50, 0.78, tex2D(Clouds, ceiling).r) * smoothstep(0.03, 0.16, up);
    float3 shone = lerp(float3(0.42, 0.20, 0.47), float3(1.0, 0.70, 0.48), saturate(wide * 0.9 + 0.25 * Rise));
    color = lerp(color, shone, cover * 0.62);
    return float4(color, 0.30 * close * Rise);
}
