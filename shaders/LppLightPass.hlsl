// One light, drawn as a full-screen quad over the geometry buffer. RGB gathers the diffuse light, A the
// specular term. All vectors are in view space; the light's vector runs from the light to the pixel, as the
// stored normals point away from the camera.
//
//[QUAB_BEGIN]
//function vertexMain : LightVS
//function pixelMain : LightPS
//config baseMaterial : transparent_add_color
//QUAB_PP:D:DISTANT://float3 LightDirection : 0,0,0; pixel
//QUAB_PP:D:SPOTLIGHT://float3 LightDirection : 0,0,0; pixel
//QUAB_PP:U:DISTANT://float3 LightPosition : 0,0,0; pixel
//QUAB_PP:U:DISTANT://float InvLightRadiusSqr : 0.01; pixel
//QUAB_PP:D:SPOTLIGHT://float2 SpotlightAngles : 0.8,0.7; pixel
//float3 LightColor : 1,1,1; pixel
//float2 GBufferPixelSize : PixelSize;
//floatN FrustumCorners : FrustrumFarCorners;
//float fDepthFactor : ZFarValue; pixel
//[QUAB_END]

//QUAB_PP:D:DISTANT: #define LIGHT_DISTANT
//QUAB_PP:D:SPOTLIGHT: #define LIGHT_SPOT

#ifdef LIGHT_DISTANT
float3 LightDirection;
#else
float3 LightPosition;
float InvLightRadiusSqr;
#endif

#ifdef LIGHT_SPOT
float3 LightDirection;
float2 SpotlightAngles; // cosines of the inner and the outer cone
#endif

float3 LightColor;
float2 GBufferPixelSize;
float3 FrustumCorners[4]; // of the far plane: left up, right up, left down, right down
float fDepthFactor;

sampler2D DepthBuffer = sampler_state {
    MinFilter = Point;
    MagFilter = Point;
    MipFilter = None;
    AddressU = Clamp;
    AddressV = Clamp;
};

sampler2D NormalBuffer = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = None;
    AddressU = Clamp;
    AddressV = Clamp;
};

struct VertexOut {
    float4 position : POSITION;
    float2 uv : TEXCOORD0;
    float3 ray : TEXCOORD1;
};

VertexOut LightVS(float4 position : POSITION, float2 uv : TEXCOORD0) {
    VertexOut result;
    result.position = position;
    result.uv = float2(position.x * 0.5 + 0.5, 1.0 - (position.y * 0.5 + 0.5)) + GBufferPixelSize;
    result.ray = FrustumCorners[(int)(uv.x + 2.0 * uv.y)];
    return result;
}

float3 decodeNormal(float2 e) {
    const float scale = 0.8;
    float3 m = float3(e * (2.0 * scale) - scale, 1.0);
    float g = 2.0 / dot(m, m);
    return float3(g * m.xy, g - 1.0);
}

// A light may stand in the very point that it lights.
float3 safeNormalize(float3 v) {
    return v * rsqrt(max(dot(v, v), 0.00000001));
}

float4 LightPS(float2 uv : TEXCOORD0, float3 ray : TEXCOORD1) : COLOR0 {
    float depth = tex2D(DepthBuffer, uv).r;
    clip(0.9999 - depth); // background

    float z = depth * fDepthFactor;
    float3 p = (z / ray.z) * ray;

#ifdef LIGHT_DISTANT
    float3 l = LightDirection;
    float attenuation = 1.0;
#else
    float3 l = p - LightPosition;
    float attenuation = 1.0 - saturate(dot(l, l) * InvLightRadiusSqr);
    l = safeNormalize(l);
#endif
#ifdef LIGHT_SPOT
    float rho = dot(l, LightDirection);
    attenuation *= saturate((rho - SpotlightAngles.y) / (SpotlightAngles.x - SpotlightAngles.y));
#endif

    float4 surface = tex2D(NormalBuffer, uv);
    float3 n = decodeNormal(surface.rg);
    float nl = saturate(dot(n, l)) * attenuation;

    float3 h = safeNormalize(l + normalize(p));
    float gloss = surface.a * 10.0;
    // A power of 0 gives 1 for a base of 0 as well, which not every driver says by itself.
    float highlight = gloss > 0.0 ? pow(saturate(dot(n, h)), gloss * gloss * gloss) : 1.0;
    float specular = nl * surface.b * highlight;
    return float4(LightColor * nl, specular);
}
