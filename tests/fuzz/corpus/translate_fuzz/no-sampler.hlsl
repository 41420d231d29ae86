// The spark's facets: a gold that breathes. Pulse is 1 on each beat, Heat moves its rim between coral and
// amber.
//
//[QUAB_BEGIN]
//function vertexMain : vertexMain
//function pixelMain : pixelMain
//config baseMaterial : solid
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 WorldView : WorldViewTranspose;
//float Time : Time0_X; pixel
//float Pulse : 0.0; pixel
//float Heat : 0.6; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float4x4 WorldView;
float Time;
float Pulse;
float Heat;

struct VertexOut {
    float4 position : POSITION;
    float3 normal : TEXCOORD0;
};

VertexOut vertexMain(float4 position : POSITION, float3 normal : NORMAL) {
    VertexOut result;
    result.position = mul(position, WorldViewProjection);
    result.normal = mul(normal, (float3x3)WorldView);
    return result;
}

float4 pixelMain(float3 normal : TEXCOORD0) : COLOR0 {
    float3 n = normalize(normal);
    float facing = saturate(-n.z);
    float flicker = 0.05 * sin(Time * 9.0 + n.x * 7.0 + n.y * 5.0);
    float3 cold = lerp(float3(1.0, 0.435, 0.38), float3(1.0, 0.62, 0.29), Heat);
    float3 hot = lerp(float3(1.0, 0.70, 0.26), float3(1.0, 0.86, 0.56), Pulse);
    float3 color = lerp(cold * 0.85, hot, saturate(facing * 1.1 - 0.1 + flicker));
    return float4(color, 0.25 + 0.35 * Pulse);
}
