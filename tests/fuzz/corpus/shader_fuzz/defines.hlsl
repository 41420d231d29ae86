D// One light, drawn as a full-screen quad over the geometry buffer. RGB gathers the diffuse light, A the
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

