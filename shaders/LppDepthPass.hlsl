// Geometry pass: what the lights need to know of each solid surface.
//   COLOR0  RG view-space normal, encoded; B specular amount; A glossiness
//   COLOR1  R view-space depth over the far value; G depth-of-field blur amount
// Normals are stored pointing away from the camera; the light pass counts on that sign.
//
//[QUAB_BEGIN]
//function vertexMain : VertexShaderFunction
//function pixelMain : PixelShaderFunction
//config baseMaterial : solid
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4x4 WorldView : WorldViewTranspose;
//float fDepthFactor : ZFarValue; pixel
//QUAB_PP:D:TEX_NORM://float fBumpiness : Surface_Bump; pixel
//QUAB_PP:U:TEX_SPEC://float fSpecular : Surface_Specularity; pixel
//QUAB_PP:U:TEX_GLOS://float fGlossiness : Surface_Glossiness; pixel
//QUAB_PP:D:DOF://float d_far : 1000; pixel
//QUAB_PP:D:DOF://float d_focus : 360; pixel
//QUAB_PP:D:DOF://float d_near : 80; pixel
//QUAB_PP:D:DOF://float far_clamp : 1; pixel
//[QUAB_END]

//QUAB_PP:D:TEX_NORM: #define USE_TEX_NORMAL
//QUAB_PP:D:TEX_SPEC: #define USE_TEX_SPECULAR
//QUAB_PP:D:TEX_GLOS: #define USE_TEX_GLOSSINESS
//QUAB_PP:D:DOF: #define USE_DOF

float4x4 WorldViewProjection;
float4x4 WorldView;
float fDepthFactor;

// The order of the samplers is that of the material layers.
#ifdef USE_TEX_NORMAL
float fBumpiness;
sampler2D NormalMap = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};
#endif

#ifdef USE_TEX_SPECULAR
sampler2D SpecularMap = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};
#else
float fSpecular;
#endif

#ifdef USE_TEX_GLOSSINESS
sampler2D GlossinessMap = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};
#else
float fGlossiness;
#endif

#ifdef USE_DOF
float d_far;
float d_focus;
float d_near;
float far_clamp;
#endif

struct VertexIn {
    float4 position : POSITION;
    float2 uv : TEXCOORD0;
    float3 normal : NORMAL;
    float4 tangent : TEXCOORD1;
};

struct VertexOut {
    float4 position : POSITION;
    float2 uv : TEXCOORD0;
    float depth : TEXCOORD1;
    float3 normal : TEXCOORD2;
#ifdef USE_TEX_NORMAL
    float3 tangent : TEXCOORD3;
    float3 binormal : TEXCOORD4;
#endif
};

struct Targets {
    float4 normal : COLOR0;
    float4 depth : COLOR1;
};

#ifdef USE_TEX_NORMAL
// A vertex may have no tangent: zeros must stay zeros and let the bare normal through.
float3 safeNormalize(float3 v) {
    return v * rsqrt(max(dot(v, v), 0.00000001));
}
#endif

VertexOut VertexShaderFunction(VertexIn input) {
    VertexOut result;
    // Exactly as in the final pass, which draws the same triangles again. The renderer puts these a little
    // behind: an offset here would have them clipped to other depths, some of them in front.
    result.position = mul(input.position, WorldViewProjection);
    result.uv = input.uv;
    result.depth = mul(input.position, WorldView).z;
    result.normal = normalize(mul(input.normal, (float3x3)WorldView));
#ifdef USE_TEX_NORMAL
    result.tangent = safeNormalize(mul(input.tangent.xyz, (float3x3)WorldView));
    result.binormal = safeNormalize(cross(result.normal, result.tangent)) * input.tangent.w;
#endif
    return result;
}

// Stereographic projection. A scale above 0.8 reaches further round the sphere and shows chunks in 8 bits.
float2 encodeNormal(float3 n) {
    const float scale = 0.8;
    // The guard is for a surface seen squarely from behind, where the projection has no value.
    float2 e = n.xy / max(n.z + 1.0, 0.0001);
    return e / scale * 0.5 + 0.5;
}

#ifdef USE_DOF
// 0.5 in focus; toward 0 nearer than that, toward 1 farther away.
float blurAmount(float depth) {
    float f = (depth - d_focus) / (d_focus - d_near);
    float beyond = clamp((depth - d_focus) / (d_far - d_focus), 0.0, far_clamp);
    if (depth >= d_focus)
        f = beyond;
    return f * 0.5 + 0.5;
}
#endif

Targets PixelShaderFunction(VertexOut input) {
    Targets result;
#ifdef USE_TEX_NORMAL
    float3 m = lerp(float3(0.5, 0.5, 1.0), tex2D(NormalMap, input.uv).rgb, fBumpiness / 4.0) * 2.0 - 1.0;
    float3 n = -(input.normal * m.z + m.x * input.tangent - m.y * input.binormal);
#else
    float3 n = -input.normal;
#endif
    result.normal.rg = encodeNormal(normalize(n));

#ifdef USE_TEX_SPECULAR
    result.normal.b = tex2D(SpecularMap, input.uv).r;
#else
    result.normal.b = fSpecular;
#endif
#ifdef USE_TEX_GLOSSINESS
    result.normal.a = tex2D(GlossinessMap, input.uv).r;
#else
    result.normal.a = fGlossiness;
#endif

    result.depth = float4(input.depth / fDepthFactor, 0.0, 0.0, 0.0);
#ifdef USE_DOF
    result.depth.g = blurAmount(input.depth);
#endif
    return result;
}
