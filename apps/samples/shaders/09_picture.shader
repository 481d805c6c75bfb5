[Vertex shader]
// The renderer's own triangle that covers the viewport.
struct Output
{
    float4 position : SV_Position;
    float2 uv : TEXCOORD0;
};

Output main(float2 position : POSITION, float2 uv : TEXCOORD0, float corner : NORMAL)
{
    Output output;
    output.position = float4(position, 0.0, 1.0);
    output.uv = uv;
    return output;
}

[Fragment shader]
Texture2D Picture;
SamplerState PictureSampler;

float4 main(float4 position : SV_Position, float2 uv : TEXCOORD0) : SV_Target0
{
    return Picture.Sample(PictureSampler, uv);
}
