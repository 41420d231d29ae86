// Clears the two geometry targets where no surface will be drawn: a normal toward positive z, so that a
// sample taken at a silhouette lights no pixel, and the depth of the far plane.
//
//[QUAB_BEGIN]
//function vertexMain : VS
//function pixelMain : PS
//[QUAB_END]

struct Targets {
    float4 normal : COLOR0;
    float4 depth : COLOR1;
};

float4 VS(float4 position : POSITION) : POSITION {
    return position;
}

Targets PS() {
    Targets result;
    result.normal = float4(0.0, 0.5, 0.0, 0.0);
    result.depth = float4(1.0, 0.0, 0.0, 0.0);
    return result;
}
