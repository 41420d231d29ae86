// Copies a picture to the whole of a target of any size.
//
//[QUAB_BEGIN]
//function vertexMain : VSfunc
//function pixelMain : PSfunc
//float2 HalfPixelSize : HalfPixelSize;
//[QUAB_END]

float2 HalfPixelSize;

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

float4 PSfunc(float2 uv : TEXCOORD0) : COLOR0 {
    return tex2D(Picture, uv);
}
