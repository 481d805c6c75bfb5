The ground below a model: it takes the shadow and fades into the backdrop.

[Vertex shader]
float4 ground; // centre of the disc, radius

struct Vertex
{
    float2 position : POSITION;
    float2 uv : TEXCOORD0;
    float corner : NORMAL;
};

struct Pixel
{
    float4 position : SV_Position;
    float3 place : TEXCOORD0;
};

Pixel main(Vertex vertex)
{
    // The corners of the full-screen quad are the corners of the square around the disc.
    Pixel pixel;
    pixel.place = ground.xyz + float3(vertex.position.x, 0.0, vertex.position.y) * ground.w;
    pixel.position = mul(float4(pixel.place, 1.0), global_ViewProjection);
    return pixel;
}

[Fragment shader]
float4 ground;

struct Pixel
{
    float4 position : SV_Position;
    float3 place : TEXCOORD0;
};

float4 main(Pixel pixel) : SV_Target0
{
    float distance = length(pixel.place.xz - ground.xz) / ground.w;
    float alpha = 1.0 - smoothstep(0.25, 1.0, distance);
    if (alpha <= 0.0) {
        discard;
    }
    Surface s;
    s.position = pixel.place;
    s.normal = float3(0.0, 1.0, 0.0);
    s.faceNormal = s.normal;
    s.toViewer = normalize(global_ViewPos.xyz - pixel.place);
    s.color = float3(0.31, 0.31, 0.315);
    s.metallic = 0.0;
    s.roughness = 0.9;
    float3 diffuse;
    float3 mirrored;
    LightSurface(s, diffuse, mirrored);
    return float4((diffuse + mirrored * 0.4) * alpha, alpha);
}
