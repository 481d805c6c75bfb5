Depth as the key light sees it. MASKED leaves holes where the base texture has them.

[Vertex shader]
float4x4 world;
float4x4 lightViewProjection;

struct Vertex
{
    float3 position : POSITION;
    float2 uv : TEXCOORD0;
    float4 color : COLOR0;
};

struct Pixel
{
    float4 position : SV_Position;
#ifdef MASKED
    float3 uvAlpha : TEXCOORD0;
#endif
};

Pixel main(Vertex vertex)
{
    Pixel pixel;
    pixel.position = mul(mul(float4(vertex.position, 1.0), world), lightViewProjection);
#ifdef MASKED
    pixel.uvAlpha = float3(vertex.uv, vertex.color.a);
#endif
    return pixel;
}

[Fragment shader]
#ifdef MASKED
float4 cutoff; // alpha of the material, alpha below which nothing is drawn
Texture2D BaseTexture;
SamplerState BaseSampler;

void main(float4 position : SV_Position, float3 uvAlpha : TEXCOORD0)
{
    if (BaseTexture.Sample(BaseSampler, uvAlpha.xy).a * uvAlpha.z * cutoff.x < cutoff.y) {
        discard;
    }
}
#else
void main(float4 position : SV_Position)
{
}
#endif
