// Blur over a disc of twelve points and the centre. sampleDist1 is the radius in texture coordinates.
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

static const float2 Taps[12] = {
    float2(-0.326212, -0.405805), float2(-0.840144, -0.073580), float2(-0.695914, 0.457137),
    float2(-0.203345, 0.620716), float2(0.962340, -0.194983), float2(0.473434, -0.480026),
    float2(0.519456, 0.767022), float2(0.185461, -0.893124), float2(0.507431, 0.064425),
    float2(0.896420, 0.412458), float2(-0.321940, -0.932615), float2(-0.791559, -0.597705)};

float4 PSfunc(float2 uv : TEXCOORD0) : COLOR0 {
    float4 sum = tex2D(Picture, uv);
    for (int i = 0; i < 12; i++)
        sum += tex2D(Picture, uv + Taps[i] * sampleDist1);
    return sum / 13.0 * 2.0;
}
