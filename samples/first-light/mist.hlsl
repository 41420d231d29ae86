// Mist that lies on the ground and drifts, added to what lies below; the second light of the scene shines
// into it. It thins out towards
// the rim of its plane, where u and v reach 0 and 1, and right before the eye.
//
//[QUAB_BEGIN]
//config baseMaterial : onetexture_blend
//texture 0 : clouds.jpg
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 World : WorldTranspose;
//float4 ViewPosition : ViewPosition; pixel
//float4 LampPosition : LightPos1; pixel
//float4 LampColor : LightDiffuse1; pixel
//float Time : Time0_X; pixel
//float Density : 0.5; pixel
//float Reach : 90; pixel
//float Warmth : 0.0; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float4x4 World;
float4 ViewPosition;
float4 LampPosition;
float4 LampColor;
float Time;
float Density;
float Reach; // of the lamp's light, in world units
float Warmth;

sampler2D Clouds = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};

struct VertexOut {
    float4 position : POSITION;
    float2 uv : TEXCOORD0;
    float3 place : TEXCOORD1;
};

VertexOut vertexMain(float4 position : POSITION, float2 uv : TEXCOORD0) {
    VertexOut result;
    result.position = mul(position, WorldViewProjection);
    result.uv = uv;
    result.place = mul(position, World).xyz;
    return result;
}

float4 pixelMain(float2 uv : TEXCOORD0, float3 place : TEXCOORD1) : COLOR0 {
    float2 at = place.xz * 0.0021 + place.y * 0.03;
    float thick = tex2D(Clouds, at + Time * float2(0.011, 0.006)).r;
    thick *= tex2D(Clouds, at * 2.7 + Time * float2(-0.017, 0.012)).r;
    float2 rim = uv * (1.0 - uv) * 4.0;
    float3 look = place - ViewPosition.xyz;
    float near = saturate(dot(look, look) / 3600.0 - 0.1);
    float alpha = Density * saturate(thick * 3.2 - 0.45) * saturate(rim.x * rim.y * 2.5) * near;

    float3 way = place - LampPosition.xyz;
    float lamp = Reach * Reach / (Reach * Reach + dot(way, way) * 4.0);
    float3 color = lerp(float3(0.20, 0.18, 0.46), float3(0.52, 0.20, 0.30), Warmth) + LampColor.rgb * lamp * 0.9;
    return float4(color * alpha, 0.12 * alpha);
}
