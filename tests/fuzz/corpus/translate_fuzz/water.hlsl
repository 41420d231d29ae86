// The lake: ripples that run, mountains and sky from a cube map, and the tracks of two lights: the second
// light of the scene, and a fire, whose place and power are parameters.
//
//[QUAB_BEGIN]
//config baseMaterial : solid
//texture 0 : ripple.png
//texture 1 : around.jpg cube
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 World : WorldTranspose;
//float4 ViewPosition : ViewPosition; pixel
//float4 ShipPosition : LightPos1; pixel
//float4 ShipColor : LightDiffuse1; pixel
//float FireX : 0.0; pixel
//float FireY : 0.0; pixel
//float FireZ : 0.0; pixel
//float Fire : 0.0; pixel
//float Time : Time0_X; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float4x4 World;
float4 ViewPosition;
float4 ShipPosition;
float4 ShipColor;
float FireX;
float FireY;
float FireZ;
float Fire;
float Time;

sampler2D Ripples = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};

samplerCUBE Around = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
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

float track(float3 mirrored, float3 lamp) {
    float away = dot(lamp, lamp);
    return pow(saturate(dot(mirrored, lamp * rsqrt(away))), 60.0) * 60000.0 / (50000.0 + away);
}

float4 pixelMain(float3 place : TEXCOORD0) : COLOR0 {
    float3 look = place - ViewPosition.xyz;
    float range = length(look);
    look /= range;
    float2 slope = tex2D(Ripples, place.xz * 0.0040 + Time * float2(0.004, 0.011)).xy +
                   tex2D(Ripples, place.xz * 0.0117 + Time * float2(-0.015, 0.027)).xy - 1.0;
    slope *= 0.20 / (1.0 + range * 0.0016);
    float3 normal = normalize(float3(slope.x, 1.0, slope.y));
    float3 mirrored = reflect(look, normal);
    mirrored.y = abs(mirrored.y);

    float grazing = 1.0 - saturate(-dot(look, normal));
    float share = 0.16 + 0.80 * grazing * grazing * grazing;
    float3 color = lerp(float3(0.020, 0.035, 0.075), texCUBE(Around, mirrored).rgb, share);
    color += ShipColor.rgb * track(mirrored, ShipPosition.xyz - place);
    color += float3(1.0, 0.42, 0.13) * Fire * track(mirrored, float3(FireX, FireY, FireZ) - place);
    return float4(color, 0.0);
}
