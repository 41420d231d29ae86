// Empties the light buffer before the lights are added up.
//
//[QUAB_BEGIN]
//function vertexMain : VS
//function pixelMain : PS
//[QUAB_END]

float4 VS(float4 position : POSITION) : POSITION {
    return position;
}

float4 PS() : COLOR0 {
    return float4(0.0, 0.0, 0.0, 0.0);
}
