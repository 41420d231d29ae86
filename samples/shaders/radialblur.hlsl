// Streaks the picture toward its centre. alpha fades the result over what is behind it.
//
//[QUAB_BEGIN]
//function vertexMain : vertexMain
//function pixelMain : pixelMain
//config baseMaterial : transparent
//float4x4 view_proj_matrix : WorldViewProjection;
//float BlurStart : 1.0; pixel
//float BlurWidth : -0.14; pixel
//float alpha : 1.0; pixel
//[QUAB_END]

float4x4 view_proj_matrix;
float BlurStart;
float BlurWidth;
float alpha;

sampler2D screenSampler = sampler_state {
    MinFilter = Linear;
    MagFilter = Linear;
    MipFilter = None;
    AddressU = Clamp;
    AddressV = Clamp;
};

struct VertexOut {
    float4 position : POSITION;
    float2 uv : TEXCOORD0;
};

// The matrix arrives transposed, so the position stands on its right.
VertexOut vertexMain(float4 position : POSITION, float2 uv : TEXCOORD0) {
    VertexOut result;
    result.position = mul(view_proj_matrix, position);
    result.uv = uv;
    return result;
}

float4 pixelMain(float2 uv : TEXCOORD0) : COLOR0 {
    // Scaling about the centre is a walk along one line: a start and a step keep it within the profile.
    float2 start = (uv - 0.5) * BlurStart + float2(0.5, 0.5);
    float2 walk = (uv - 0.5) * BlurWidth;
    float4 sum = float4(0.0, 0.0, 0.0, 0.0);
    for (int i = 0; i < 16; i++)
        sum += tex2D(screenSampler, start + walk * (i / 15.0));
    float4 result = sum / 16.0;
    result.a *= alpha;
    return result;
}
