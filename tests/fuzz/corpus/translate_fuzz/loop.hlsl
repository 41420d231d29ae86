// One-axis blur of the glow, along x. sampleDist1 is a distance in texture coordinates.
//
//[QUAB_BEGIN]
//function vertexMain : VSfunc
//function pixelMain : PSfunc
//float sampleDist1 : 0.0198; pixel
//float2 HalfPixelSize : HalfPixelSize;
//[QUAB_END]

float2 HalfPixelSize;
float sampleDist1;

sampler2D Picture = sampler_state {
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

VertexOut VSfunc(float4 position : POSITION) {
    VertexOut result;
    result.position = position;
    result.uv = float2(position.x * 0.5 + 0.5, 1.0 - (position.y * 0.5 + 0.5)) + HalfPixelSize;
    return result;
}

static const float Taps[8] = {-0.840144, -0.695914, -0.326212, -0.203345,
                              0.840144,  0.695914,  0.326212,  0.203345};

float4 PSfunc(float2 uv : TEXCOORD0) : COLOR0 {
    float4 sum = tex2D(Picture, uv);
    for (int i = 0; i < 8; i++)
        sum += tex2D(Picture, uv + float2(Taps[i] * sampleDist1, 0.0));
    // Nine samples over eight: the pass brightens, and the look of the glow counts on it.
    return sum / 8.0 * 2.0;
}
