// One shell of air around the eye, added to what lies beyond it; several of them, one in another, make what is
// far paler than what is near. It thins out with the height of the look and is warm towards the last light.
//
//[QUAB_BEGIN]
//config baseMaterial : onetexture_blend
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 World : WorldTranspose;
//float4 ViewPosition : ViewPosition; pixel
//float Strength : 0.05; pixel
//float Height : 0.3; pixel
//float Warmth : 1.0; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float4x4 World;
float4 ViewPosition;
float Strength;
float Height;
float Warmth;

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
    float thick = saturate(1.0 - look.y / Height);
    thick *= thick;
    float3 color = float3(0.34, 0.36, 0.62) + float3(0.90, 0.40, 0.10) * (pow(near, 4.0) * Warmth);
    // Less than a grey step, another one in every shell: else all of them would show the same bands.
    float shift = frac(length(place - ViewPosition.xyz) * 0.0137) * 0.0039;
    return float4(color * (Strength * thick) + shift * saturate(thick * 20.0), 0.0);
}
