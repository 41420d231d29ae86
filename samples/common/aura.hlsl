// A ball of light in the air: added to what lies behind it, brightest where the look passes through most of it.
// The mesh is a plain ball; Strength scales the light, Focus draws it together.
//
//[QUAB_BEGIN]
//config baseMaterial : onetexture_blend
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 WorldView : WorldViewTranspose;
//float Strength : 0.5; pixel
//float Focus : 3.0; pixel
//float Red : 1.0; pixel
//float Green : 0.784; pixel
//float Blue : 0.341; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float4x4 WorldView;
float Strength;
float Focus;
float Red;
float Green;
float Blue;

struct VertexOut {
    float4 position : POSITION;
    float3 normal : TEXCOORD0;
    float3 place : TEXCOORD1;
};

VertexOut vertexMain(float4 position : POSITION, float3 normal : NORMAL) {
    VertexOut result;
    result.position = mul(position, WorldViewProjection);
    result.normal = mul(normal, (float3x3)WorldView);
    result.place = mul(position, WorldView).xyz;
    return result;
}

float4 pixelMain(float3 normal : TEXCOORD0, float3 place : TEXCOORD1) : COLOR0 {
    float facing = saturate(-dot(normalize(normal), normalize(place)));
    float light = Strength * pow(facing, Focus);
    return float4(float3(Red, Green, Blue) * light, 0.0);
}
