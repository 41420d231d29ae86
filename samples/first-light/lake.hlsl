// The lake: ripples that run, what surrounds it from a cube map, a track of the sun and one of the spark, which
// is the second light of its scenes. SunHeight and Rise are those of the sky.
//
//[QUAB_BEGIN]
//config baseMaterial : solid
//texture 0 : ripple.png
//texture 1 : sky.jpg cube
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 World : WorldTranspose;
//float4 ViewPosition : ViewPosition; pixel
//float4 LampPosition : LightPos1; pixel
//float4 LampColor : LightDiffuse1; pixel
//float Time : Time0_X; pixel
//float SunHeight : 100; pixel
//float Rise : 1.0; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float4x4 World;
float4 ViewPosition;
float4 LampPosition;
float4 LampColor;
float Time;
float SunHeight;
float Rise;

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

float2 slopeAt(float2 at) {
    float2 slow = tex2D(Ripples, at * 0.0045 + Time * float2(0.004, 0.013)).xy;
    float2 quick = tex2D(Ripples, at * 0.013 + Time * float2(-0.017, 0.031)).xy;
    return slow + quick - 1.0;
}

float4 pixelMain(float3 place : TEXCOORD0) : COLOR0 {
    float3 look = place - ViewPosition.xyz;
    float range = length(look);
    look /= range;
    float2 slope = slopeAt(place.xz) * (0.16 / (1.0 + range * 0.0022));
    float3 normal = normalize(float3(slope.x, 1.0, slope.y));
    float3 mirrored = reflect(look, normal);
    mirrored.y = abs(mirrored.y);

    // The faces were painted from the middle of the lake.
    float3 around = texCUBE(Around, mirrored + (place - float3(0.0, 0.0, 200.0)) / 900.0).rgb;
    around *= lerp(float3(0.50, 0.42, 0.72), float3(1.0, 1.0, 1.0), Rise);
    float grazing = 1.0 - saturate(-dot(look, normal));
    float share = 0.22 + 0.78 * grazing * grazing * grazing;
    float3 color = lerp(float3(0.13, 0.07, 0.24), around, share);

    float3 sun = normalize(float3(0.0, SunHeight, 1680.0) - place);
    float track = saturate(dot(mirrored, sun));
    float glitter = pow(track, 420.0) * 2.2 + pow(track, 40.0) * 0.35;
    color += float3(1.0, 0.72, 0.36) * glitter * Rise;

    float3 lamp = LampPosition.xyz - place;
    float away = dot(lamp, lamp);
    float shine = pow(saturate(dot(mirrored, lamp * rsqrt(away))), 70.0);
    color += LampColor.rgb * shine * 36000.0 / (30000.0 + away);
    return float4(color, saturate(glitter * 0.35 * Rise));
}
