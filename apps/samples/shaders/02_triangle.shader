[Vertex shader]
struct Output
{
    float4 position : SV_Position;
    float3 color : COLOR0;
};

Output main(float2 position : POSITION, float3 color : COLOR0)
{
    Output output;
    output.position = float4(position, 0.0, 1.0);
    output.color = color;
    return output;
}

[Fragment shader]
float brightness;

float4 main(float4 position : SV_Position, float3 color : COLOR0) : SV_Target0
{
    return float4(color * brightness, 1.0);
}
