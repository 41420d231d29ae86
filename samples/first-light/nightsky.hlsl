// The night's sky, worked out for each pixel: a band of far stars and hills on the horizon, both from one
// picture of clouds that tiles. Glow lifts the horizon. Below it lies dark land, or with Ground 0 no hills and
// the same sky once more, for a wet street to show.
//
//[QUAB_BEGIN]
//config baseMaterial : solid
//texture 0 : clouds.jpg
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 World : WorldTranspose;
//float4 ViewPosition : ViewPosition; pixel
//float Glow : 0.5; pixel
//float Ground : 1.0; pixel
//[QUAB_END]

float4x4 WorldViewProjection;
float4x4 World;
float4 ViewPosition;
float Glow;
float Ground;

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
    float up = abs(look.y);
    float3 color = lerp(float3(0.34, 0.16, 0.44), float3(0.141, 0.106, 0.369), smoothstep(0.0, 0.22, up));
    color = lerp(color, float3(0.045, 0.035, 0.15), smoothstep(0.12, 0.75, up));
    float low = 1.0 - smoothstep(0.0, 0.30, up);
    color += float3(0.42, 0.16, 0.24) * low * low * Glow * (0.35 + 0.65 * saturate(look.z));

    float band = up - 0.46 - 0.35 * look.x;
    float dust = tex2D(Clouds, look.xz * 1.1 + 0.5 * up).r;
    float milk = exp2(-band * band * 22.0) * smoothstep(0.42, 0.80, dust);
    color += float3(0.30, 0.22, 0.52) * milk;

    float2 around = normalize(look.xz);
    float hills = Ground * (0.02 + 0.08 * tex2D(Clouds, around * 0.42).r);
    float3 land = lerp(float3(0.035, 0.024, 0.09), float3(0.17, 0.09, 0.26), smoothstep(-0.24, 0.07, look.y));
    color = lerp(land, color, smoothstep(hills - 0.002, hills + 0.002, lerp(up, look.y, Ground)));
    return float4(color, 0.0);
}
