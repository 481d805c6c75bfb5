[Vertex shader]
// Half the square's size in x and y, then its middle, all in clip space.
float4 placement;

float4 main(float2 position : POSITION) : SV_Position
{
    return float4(position * placement.xy + placement.zw, 0.0, 1.0);
}

[Fragment shader]
float4 color;

float4 main() : SV_Target0
{
    return color;
}
