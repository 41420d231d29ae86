// The wet street. The city stands upside down below it and shows through where the look is flat and the road
// is wet. Lines and pools of light stay on top. All that moves comes round in eight seconds, the city's lap.
//
//[QUAB_BEGIN]
//config baseMaterial : transparent
//texture 0 : street.jpg
//texture 1 : clouds.jpg
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 World : WorldTranspose;
//float4 ViewPosition : ViewPosition; pixel
//float4 LampPosition : LightPos1; pixel
//float4 LampColor : LightDiffuse1; pixel
//float Pulse : 0.0; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float4x4 World;
float4 ViewPosition;
float4 LampPosition;
float4 LampColor;
float Pulse;

sampler2D Lines = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};

sampler2D Wetness = sampler_state {
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
    float3 look = normalize(place - ViewPosition.xyz);
    float grazing = 1.0 - saturate(-look.y);
    // 480 units, the block after which the city repeats, are two tiles.
    float wet = smoothstep(0.30, 0.62, tex2D(Wetness, place.xz / 240.0).r);

    float3 lines = tex2D(Lines, uv).rgb;
    float marked = saturate(max(lines.r, lines.g) * 1.6 - 0.25);
    float kerb = abs(abs(place.x) - 52.0);
    float pools = exp2(-kerb * kerb / 500.0) * (0.6 + 0.4 * cos((place.z + 80.0) * 0.15708));
    float3 color = lines * (1.0 + 0.6 * Pulse) + float3(0.75, 0.36, 0.12) * pools * (0.30 + 0.35 * Pulse);

    float3 lamp = LampPosition.xyz - place;
    float away = dot(lamp, lamp);
    color += LampColor.rgb * 0.75 * 1600.0 / (1600.0 + away);

    float covered = 1.0 - (0.30 + 0.50 * wet) * grazing * grazing;
    return float4(color, max(covered, marked));
}
