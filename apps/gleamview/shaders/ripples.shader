A worked example for gleamview --shader: rings of water run over the first image. Text ahead of the first marker is not
read by the compiler.

[Fragment shader]
cbuffer Frame
{
    float4 resolution;
    float time;
};

Texture2D Image0;
SamplerState ImageSampler;

float4 main(float4 position : SV_Position, float2 uv : TEXCOORD0) : SV_Target0
{
    // Rings keep their shape whatever the picture's proportions are.
    float2 fromCentre = (uv - 0.5) * float2(resolution.x * resolution.w, 1.0);
    float distance = length(fromCentre);
    float wave = sin(distance * 60.0 - time * 4.0) * exp(-distance * 3.0);
    float2 bent = uv + fromCentre / max(distance, 0.001) * wave * 0.02;

    float3 color = Image0.Sample(ImageSampler, bent).rgb;
    float highlight = saturate(wave) * 0.08;
    float vignette = 1.0 - 0.6 * dot(uv - 0.5, uv - 0.5);
    return float4(color * vignette + highlight, 1.0);
}
