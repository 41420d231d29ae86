// Shafts of light: added to what lies behind them. Each is an open cone along which v runs from 0 at the lamp
// to 1 where the light ends. The whole part of its u is its number: it shoots up at Stagger times that, less
// Lead, in seconds. The dust in it comes round in eight seconds.
//
//[QUAB_BEGIN]
//config baseMaterial : onetexture_blend
//texture 0 : clouds.jpg
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 WorldView : WorldViewTranspose;
//float Time : Time0_X; pixel
//float Strength : 0.4; pixel
//float Stagger : 0.0; pixel
//float Lead : 8.0; pixel
//float Red : 1.0; pixel
//float Green : 0.914; pixel
//float Blue : 0.788; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float4x4 WorldView;
float Time;
float Strength;
float Stagger;
float Lead;
float Red;
float Green;
float Blue;

sampler2D Dust = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};

struct VertexOut {
    float4 position : POSITION;
    float2 uv : TEXCOORD0;
    float3 normal : TEXCOORD1;
    float3 place : TEXCOORD2;
};

VertexOut vertexMain(float4 position : POSITION, float3 normal : NORMAL, float2 uv : TEXCOORD0) {
    VertexOut result;
    result.position = mul(position, WorldViewProjection);
    result.uv = uv;
    result.normal = mul(normal, (float3x3)WorldView);
    result.place = mul(position, WorldView).xyz;
    return result;
}

float4 pixelMain(float2 uv : TEXCOORD0, float3 normal : TEXCOORD1, float3 place : TEXCOORD2) : COLOR0 {
    float facing = saturate(abs(dot(normalize(normal), normalize(place))));
    float dust = tex2D(Dust, uv + float2(Time * 0.125, Time * -0.125)).r;
    float fade = (1.0 - uv.y) * (1.0 - uv.y) * saturate(uv.y * 9.0);
    float since = Time + Lead - floor(uv.x + 0.0001) * Stagger;
    float reach = saturate((since * 1.4 - uv.y) * 5.0) * (1.0 + 2.0 * exp2(-since * 4.0));
    float light = Strength * reach * facing * facing * fade * (0.55 + 0.9 * dust);
    return float4(float3(Red, Green, Blue) * light, 0.0);
}
