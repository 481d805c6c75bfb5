[Vertex shader]
struct Output
{
    float4 position : SV_Position;
    float3 place : TEXCOORD0;
    float2 uv : TEXCOORD1;
};

cbuffer View : register(b12)
{
    float4x4 global_View;
    float4x4 global_Projection;
    float4x4 global_ViewProjection;
};

Output main(float3 position : POSITION, float2 uv : TEXCOORD0)
{
    Output output;
    output.position = mul(float4(position, 1.0), global_ViewProjection);
    output.place = position;
    output.uv = uv;
    return output;
}

[Fragment shader]
float4 main(float4 position : SV_Position, float3 place : TEXCOORD0, float2 uv : TEXCOORD1) : SV_Target0
{
    // The cloth has new positions in every frame; how they change from pixel to pixel gives the normal.
    float3 normal = normalize(cross(ddx(place), ddy(place)));
    float light = 0.35 + 0.65 * abs(dot(normal, normalize(float3(0.5, 0.6, -0.8))));
    float stripe = frac(uv.x * 6.0) < 0.5 ? 1.0 : 0.55;
    return float4(float3(0.86, 0.36, 0.24) * light * stripe, 1.0);
}
