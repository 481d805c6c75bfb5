// In front of the sections that light surfaces: the key light with its shadow, a fill light, the studio around.
float4x4 lightViewProjection;
float4 lightDirection; // towards the key light; w is the world size of a texel of the shadow map
float4 lightColor;     // w is 1 / size of the shadow map

Texture2D ShadowMap;
SamplerComparisonState ShadowSampler;

// 1 in the light, 0 in the shadow. The point is moved off its surface, further where the light grazes it, so that a
// surface never shadows itself; the nine taps are filtered ones.
float KeyLightShadow(float3 position, float3 faceNormal)
{
    float grazing = saturate(1.0 - dot(faceNormal, lightDirection.xyz));
    float3 lifted = position + faceNormal * lightDirection.w * (1.0 + 2.5 * grazing);
    float4 place = mul(float4(lifted, 1.0), lightViewProjection);
    float2 uv = place.xy * float2(0.5, -0.5) + 0.5;
    if (any(uv < 0.0) || any(uv > 1.0)) {
        return 1.0;
    }
    // The map ends behind the last thing that throws a shadow, not behind the last that takes one.
    float depth = min(place.z - 0.0006, 0.9999);
    float lit = 0.0;
    [unroll]
    for (int y = -1; y <= 1; ++y) {
        [unroll]
        for (int x = -1; x <= 1; ++x) {
            float2 tap = uv + float2(x, y) * lightColor.w * 1.4;
            lit += ShadowMap.SampleCmpLevelZero(ShadowSampler, tap, depth);
        }
    }
    return lit / 9.0;
}

struct Surface
{
    float3 position;
    float3 normal;     // towards the viewer's side
    float3 faceNormal; // of the triangle, towards the viewer
    float3 toViewer;
    float3 color;
    float metallic;
    float roughness;
};

// Highlights of rough surfaces: GGX with Smith shadowing in the form of Hammon's approximation.
float Highlight(float3 normal, float3 toViewer, float3 toLight, float roughness)
{
    float3 halfway = normalize(toViewer + toLight);
    float alpha = max(roughness * roughness, 0.004);
    float nh = saturate(dot(normal, halfway));
    float nl = saturate(dot(normal, toLight));
    float nv = abs(dot(normal, toViewer)) + 1e-4;
    float spread = nh * nh * (alpha * alpha - 1.0) + 1.0;
    float distribution = alpha * alpha / (Pi * spread * spread);
    return distribution * 0.5 / lerp(2.0 * nl * nv, nl + nv, alpha) * nl;
}

// What a mirror would see of the studio, blurred by the roughness: ceiling lights over a dark floor.
float3 StudioReflection(float3 direction, float roughness)
{
    float blur = roughness * roughness;
    float3 base = StudioLight(direction.y * (1.0 - 0.4 * blur));
    float key = pow(saturate(dot(direction, lightDirection.xyz)), lerp(24.0, 2.0, roughness));
    float strip = smoothstep(0.55, 0.62 + blur, direction.y) * smoothstep(0.98 + blur, 0.85, direction.y);
    return base * 0.7 + float3(1.0, 0.97, 0.92) * key * lerp(1.6, 0.5, roughness) + strip * lerp(0.5, 0.1, roughness);
}

// Share of a reflection at an angle, fitted to the environment integral of GGX (Karis, "Physically Based Shading on
// Mobile", 2014).
float3 ReflectedShare(float3 specular, float roughness, float nv)
{
    float4 r = roughness * float4(-1.0, -0.0275, -0.572, 0.022) + float4(1.0, 0.0425, 1.04, -0.04);
    float a = min(r.x * r.x, exp2(-9.28 * nv)) * r.x + r.y;
    float2 ab = float2(-1.04, 1.04) * a + r.zw;
    return specular * ab.x + ab.y;
}

// The light that leaves a surface towards the viewer; diffuse and mirrored parts apart, for glass.
void LightSurface(Surface surface, out float3 diffuse, out float3 mirrored)
{
    float3 toLight = lightDirection.xyz;
    float3 toFill = normalize(float3(-toLight.x, 0.35, -toLight.z));
    float shadow = KeyLightShadow(surface.position, surface.faceNormal);
    float3 key = lightColor.rgb * shadow;
    float3 fill = float3(0.20, 0.24, 0.30);

    float3 albedo = surface.color * (1.0 - surface.metallic);
    float3 specular = lerp(0.04, surface.color, surface.metallic);
    float nl = saturate(dot(surface.normal, toLight));
    float nv = saturate(dot(surface.normal, surface.toViewer));

    float3 ambient = StudioLight(surface.normal.y) * 0.45;
    diffuse = albedo * (key * nl + fill * saturate(dot(surface.normal, toFill)) + ambient);

    float3 fresnel = specular + (1.0 - specular) * pow(1.0 - saturate(dot(surface.toViewer,
                                                                           normalize(surface.toViewer + toLight))), 5.0);
    mirrored = key * fresnel * Highlight(surface.normal, surface.toViewer, toLight, surface.roughness) * Pi * 0.6;
    float3 reflected = reflect(-surface.toViewer, surface.normal);
    mirrored += StudioReflection(reflected, surface.roughness) * ReflectedShare(specular, surface.roughness, nv) *
                lerp(0.75, 1.0, shadow);
}
