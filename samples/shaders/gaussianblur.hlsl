// Blurs the picture along both axes at once. alpha fades the result over what is behind it.
//
//[QUAB_BEGIN]
//function vertexMain : vertexMain
//function pixelMain : pixelMain
//config baseMaterial : transparent
//float4x4 view_proj_matrix : WorldViewProjection;
//float blurOffset : 0.16; pixel
//float alpha : 1.0; pixel
//[QUAB_END]

float4x4 view_proj_matrix;
float blurOffset;
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

static const float K[8] = {-4.0, -3.0, -2.0, -1.0, 1.0, 2.0, 3.0, 4.0};
static const float B[8] = {0.002216, 0.008764, 0.026995, 0.064759, 0.064759, 0.026995, 0.008764, 0.002216};

float4 pixelMain(float2 uv : TEXCOORD0) : COLOR0 {
    float4 sum = float4(0.0, 0.0, 0.0, 0.0);
    for (int i = 0; i < 8; i++) {
        float offset = K[i] * blurOffset * B[i];
        sum += tex2D(screenSampler, uv + float2(0.0, offset));
        sum += tex2D(screenSampler, uv + float2(offset, 0.0));
    }
    float4 result = sum / 16.0;
    result.a *= alpha;
    return result;
}
