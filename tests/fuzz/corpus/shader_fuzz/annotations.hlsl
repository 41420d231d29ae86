D// [QUAB_BEGIN]
//function vertexMain : LightVS;
//config baseMaterial : transparent_add_color
//config tangents
//texture 0 : sky.jpg cube;
//QUAB_PP:D:SPOTLIGHT://float2 Angles : 0.8,0.7; pixel
//QUAB_PP:U:DISTANT://float3 Place : 0,0,0; both
//floatN N : 1,2,3,4,5,6
//float4x4 M : WorldViewProjectionTranspose
//float3 C : Surface_BaseColor; 7
// [QUAB_END]
