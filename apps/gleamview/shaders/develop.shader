Turns the light of the scene into the colours of a picture: tone, average of the samples, sRGB.

[Vertex shader]
struct Vertex
{
    float2 position : POSITION;
    float2 uv : TEXCOORD0;
    float corner : NORMAL;
};

float4 main(Vertex vertex) : SV_Position
{
    return float4(vertex.position, 0.0, 1.0);
}

[Fragment shader]
#if SAMPLES > 1
Texture2DMS<float4> SceneColor;
#else
Texture2D SceneColor;
#endif

// Keeps colours as they are up to a level and bends what is brighter towards white (Khronos PBR Neutral tone mapper).
float3 Tone(float3 light)
{
    float low = min(light.r, min(light.g, light.b));
    light -= low < 0.08 ? low - 6.25 * low * low : 0.04;
    float peak = max(light.r, max(light.g, light.b));
    if (peak < 0.76) {
        return light;
    }
    float bent = 1.0 - 0.24 * 0.24 / (peak + 0.24 - 0.76);
    return lerp(light * bent / peak, bent, 1.0 - 1.0 / (0.15 * (peak - bent) + 1.0));
}

float3 ToSrgb(float3 light)
{
    float3 curve = 1.055 * pow(abs(light), 1.0 / 2.4) - 0.055;
    return light <= 0.0031308 ? light * 12.92 : curve;
}

float4 main(float4 position : SV_Position) : SV_Target0
{
    int2 texel = int2(position.xy);
#if SAMPLES > 1
    // Each sample is toned before the mean is taken, or a bright one would eat its neighbours and leave a hard edge.
    float3 sum = 0.0;
    [unroll]
    for (int i = 0; i < SAMPLES; ++i) {
        sum += Tone(SceneColor.Load(texel, i).rgb);
    }
    float3 light = sum / SAMPLES;
#else
    float3 light = Tone(SceneColor.Load(int3(texel, 0)).rgb);
#endif
    // Half a step of noise keeps the backdrop's gradient from showing bands.
    float noise = frac(52.9829189 * frac(dot(position.xy, float2(0.06711056, 0.00583715))));
    return float4(ToSrgb(saturate(light)) + (noise - 0.5) / 255.0, 1.0);
}
