// Final pass: solid geometry once more, with the light that was gathered for each pixel of the screen.
// RGB is the lit surface; A is its glow, which the glow chain reads.
//
//[QUAB_BEGIN]
//function vertexMain : VertexShaderFunction
//function pixelMain : PixelShaderFunction
//config baseMaterial : solid
//float4x4 WorldViewProjection : WorldViewProjectionTranspose;
//float4 Ambient : LightAmbient0; pixel
//float Glow : Surface_GlowValue; pixel
//float2 LightBufferPixelSize : PixelSize; pixel
//QUAB_PP:U:TEX_COLOR://float3 Color : Surface_BaseColor; pixel
//QUAB_PP:U:TEX_LUMINOSITY://float Luminosity : Surface_Luminosity; pixel
//QUAB_PP:U:TEX_DIFFUSE://float Diffuse : Surface_Diffuse; pixel
//QUAB_PP:D:TEX_REFLECIMG://float4 view_position : ViewPosition;
//QUAB_PP:D:TEX_REFLECIMG://float4x4 World : WorldTranspose;
//QUAB_PP:D:TEX_REFLECIMG://float Reflectivity : Surface_Reflectivity; pixel
//QUAB_PP:D:TEX_REFLECIMG://float ReflectionSeamAngle : Surface_ReflectionSeamAngle; pixel
//QUAB_PP:D:TEX_NORMAL://float fBumpiness : Surface_Bump; pixel
//[QUAB_END]

//QUAB_PP:D:TEX_COLOR: #define USE_TEX_COLOR
//QUAB_PP:D:TEX_LUMINOSITY: #define USE_TEX_LUMINOSITY
//QUAB_PP:D:TEX_DIFFUSE: #define USE_TEX_DIFFUSE
//QUAB_PP:D:TEX_REFLECIMG: #define USE_TEX_REFLECIMG
//QUAB_PP:D:TEX_REFLECTIVITY: #define USE_TEX_REFLECTIVITY
//QUAB_PP:D:TEX_NORMAL: #define USE_TEX_NORMAL

#define PI 3.1415926

float4x4 WorldViewProjection;
float4 Ambient;
float Glow;
float2 LightBufferPixelSize;

// The order of the samplers is that of the material layers.
#ifdef USE_TEX_COLOR
sampler2D ColorMap = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};
#else
float3 Color;
#endif

#ifdef USE_TEX_LUMINOSITY
sampler2D LuminosityMap = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};
#else
float Luminosity;
#endif

#ifdef USE_TEX_DIFFUSE
sampler2D DiffuseMap = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};
#else
float Diffuse;
#endif

#ifdef USE_TEX_REFLECIMG
float4 view_position;
float4x4 World;
float Reflectivity;
float ReflectionSeamAngle;
sampler2D ReflecImgMap = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = None;
    AddressU = Wrap;
    AddressV = Wrap;
};
#endif

#ifdef USE_TEX_REFLECTIVITY
sampler2D ReflectivityMap = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = Linear;
    AddressU = Wrap;
    AddressV = Wrap;
};
#endif

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

sampler2D LightBuffer = sampler_state {
    MinFilter = Point;
    MagFilter = Point;
    MipFilter = None;
    AddressU = Clamp;
    AddressV = Clamp;
};

struct VertexIn {
    float4 position : POSITION;
    float2 uv : TEXCOORD0;
#ifdef USE_TEX_REFLECIMG
    float3 normal : NORMAL;
#endif
#ifdef USE_TEX_NORMAL
    float3 tangent : TEXCOORD1;
    float3 binormal : TEXCOORD2;
#endif
};

struct VertexOut {
    float4 position : POSITION;
    float2 uv : TEXCOORD0;
    float4 clipPosition : TEXCOORD1;
#ifdef USE_TEX_REFLECIMG
    float3 normal : TEXCOORD2;
    float3 view : TEXCOORD3;
#endif
#ifdef USE_TEX_NORMAL
    float3 tangent : TEXCOORD4;
    float3 binormal : TEXCOORD5;
#endif
};

#ifdef USE_TEX_NORMAL
// A vertex may have no tangent: zeros must stay zeros and let the bare normal through.
float3 safeNormalize(float3 v) {
    return v * rsqrt(max(dot(v, v), 0.00000001));
}
#endif

VertexOut VertexShaderFunction(VertexIn input) {
    VertexOut result;
    result.position = mul(input.position, WorldViewProjection);
    result.uv = input.uv;
    result.clipPosition = result.position;
#ifdef USE_TEX_REFLECIMG
    result.normal = normalize(mul(input.normal, (float3x3)World));
    // From the vertex as it stands in the mesh, not in the world: a mesh that moves keeps its reflection.
    result.view = normalize(view_position.xyz - input.position.xyz);
#endif
#ifdef USE_TEX_NORMAL
    result.tangent = safeNormalize(mul(input.tangent, (float3x3)World));
    result.binormal = safeNormalize(mul(input.binormal, (float3x3)World));
#endif
    return result;
}

#ifdef USE_TEX_REFLECIMG
#ifdef USE_TEX_NORMAL

float3 shadingNormal(VertexOut input) {
    float3 m = lerp(float3(0.5, 0.5, 1.0), tex2D(NormalMap, input.uv).rgb, fBumpiness / 4.0) * 2.0 - 1.0;
    m = normalize(m);
    return normalize(m.x * input.tangent + m.y * input.binormal + m.z * input.normal);
}

// A cheaper mapping than the other one: with a normal map the program would not fit the profile.
float2 reflectionCoordinates(float3 r) {
    float2 ab = normalize(float2(r.z, r.x));
    float theta = acos(clamp(ab.x, -1.0, 1.0));
    if (ab.y < 0.0)
        theta = 2.0 * PI - theta;
    return float2((theta - ReflectionSeamAngle) / (2.0 * PI), (1.0 - r.y) / 2.0);
}

#else

float3 shadingNormal(VertexOut input) {
    return input.normal;
}

// Latitude and longitude; 0.4 PI turns the image as the modelling tool does.
float2 reflectionCoordinates(float3 r) {
    float u = (PI - atan2(r.z, r.x) - ReflectionSeamAngle - 0.4 * PI) / (2.0 * PI);
    return float2(u, acos(clamp(r.y, -1.0, 1.0)) / PI);
}

#endif

float3 reflectedLight(VertexOut input) {
    float3 r = reflect(-input.view, shadingNormal(input));
    float3 reflection = Reflectivity * tex2D(ReflecImgMap, reflectionCoordinates(r)).rgb;
#ifdef USE_TEX_REFLECTIVITY
    // The small term only keeps the constant alive in the compiled program.
    float reflectivity = tex2D(ReflectivityMap, input.uv).r + Reflectivity * 0.001;
#else
    float reflectivity = Reflectivity;
#endif
    return reflectivity * reflection;
}

#endif

float4 PixelShaderFunction(VertexOut input) : COLOR0 {
    float2 s = input.clipPosition.xy / input.clipPosition.w;
    float2 screen = float2(0.5 * (s.x + 1.0), 0.5 * (-s.y + 1.0)) + LightBufferPixelSize;

#ifdef USE_TEX_COLOR
    float3 color = tex2D(ColorMap, input.uv).rgb;
#else
    float3 color = Color;
#endif
#ifdef USE_TEX_LUMINOSITY
    float luminosity = tex2D(LuminosityMap, input.uv).r;
#else
    float luminosity = Luminosity;
#endif
#ifdef USE_TEX_DIFFUSE
    float diffuse = tex2D(DiffuseMap, input.uv).r;
#else
    float diffuse = Diffuse;
#endif

    // The specular term takes its tint from the light buffer and none from the surface.
    float4 light = tex2D(LightBuffer, screen);
    float3 result = diffuse * color * (Ambient.rgb + light.rgb) + luminosity * color + light.a * light.rgb;
#ifdef USE_TEX_REFLECIMG
    result += reflectedLight(input);
#endif
    return float4(result, Glow);
}
