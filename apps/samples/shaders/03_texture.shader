[Vertex shader]
float4x4 transform;

struct Output
{
    float4 position : SV_Position;
    float2 uv : TEXCOORD0;
};

Output main(float2 position : POSITION, float2 uv : TEXCOORD0)
{
    Output output;
    output.position = mul(float4(position, 0.0, 1.0), transform);
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
