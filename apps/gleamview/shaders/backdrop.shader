The wall behind everything, drawn over a whole view.

[Vertex shader]
struct Vertex
{
    float2 position : POSITION;
    float2 uv : TEXCOORD0;
    float corner : NORMAL;
};

struct Pixel
{
    float4 position : SV_Position;
    float2 uv : TEXCOORD0;
};

Pixel main(Vertex vertex)
{
    Pixel pixel;
    pixel.position = float4(vertex.position, 1.0, 1.0);
    pixel.uv = vertex.uv;
    return pixel;
}

[Fragment shader]
struct Pixel
{
    float4 position : SV_Position;
    float2 uv : TEXCOORD0;
};

float4 main(Pixel pixel) : SV_Target0
{
    float2 fromCentre = pixel.uv - float2(0.5, 0.45);
    return float4(Backdrop(1.0 - pixel.uv.y) * (1.0 - 0.45 * dot(fromCentre, fromCentre)), 1.0);
}
