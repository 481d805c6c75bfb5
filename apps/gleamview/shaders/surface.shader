All parts of models. FULL adds the textures beside the base texture; CLOTH takes no colours from the
vertices, where they are weights.

[Vertex shader]
float4x4 world;

struct Vertex
{
    float3 position : POSITION;
    float4 normal : NORMAL;
    float2 uv : TEXCOORD0;
    float4 color : COLOR0;
};

struct Pixel
{
    float4 position : SV_Position;
    float3 place : TEXCOORD0;
    float3 normal : TEXCOORD1;
    float2 uv : TEXCOORD2;
    float4 color : TEXCOORD3;
};

Pixel main(Vertex vertex)
{
    Pixel pixel;
    float4 place = mul(float4(vertex.position, 1.0), world);
    pixel.position = mul(place, global_ViewProjection);
    pixel.place = place.xyz;
    // Cofactors keep normals upright under uneven scales.
    float3 n = vertex.normal.xyz;
    pixel.normal = n.x * cross(world[1].xyz, world[2].xyz) + n.y * cross(world[2].xyz, world[0].xyz) +
                   n.z * cross(world[0].xyz, world[1].xyz);
    pixel.uv = vertex.uv;
#ifdef CLOTH
    pixel.color = float4(1.0, 1.0, 1.0, 1.0);
#else
    pixel.color = float4(pow(abs(vertex.color.rgb), 2.2), vertex.color.a);
#endif
    return pixel;
}

[Fragment shader]
float4 baseColor;
float4 emissive; // w is 1 where unlit
float4 surface;  // metallic, roughness, 1 where blended, alpha below which nothing is drawn

Texture2D BaseTexture;
SamplerState BaseSampler;
#ifdef FULL
Texture2D NormalTexture;
Texture2D SurfaceTexture;
Texture2D EmissiveTexture;
#endif

struct Pixel
{
    float4 position : SV_Position;
    float3 place : TEXCOORD0;
    float3 normal : TEXCOORD1;
    float2 uv : TEXCOORD2;
    float4 color : TEXCOORD3;
};

#ifdef FULL
// The normal of a texture without tangents in the vertices: the frame comes from how place and uv change over pixels.
float3 BendNormal(float3 normal, float3 place, float2 uv)
{
    float3 stepX = ddx(place);
    float3 stepY = ddy(place);
    float2 uvX = ddx(uv);
    float2 uvY = ddy(uv);
    float3 acrossX = cross(stepY, normal);
    float3 acrossY = cross(normal, stepX);
    float3 tangent = acrossX * uvX.x + acrossY * uvY.x;
    float3 bitangent = acrossX * uvX.y + acrossY * uvY.y;
    float longest = max(dot(tangent, tangent), dot(bitangent, bitangent));
    if (longest <= 0.0) {
        return normal;
    }
    float scale = rsqrt(longest);
    float3 bump = NormalTexture.Sample(BaseSampler, uv).xyz * 2.0 - 1.0;
    // v runs down the picture, the texture's green up.
    return normalize(tangent * scale * bump.x - bitangent * scale * bump.y + normal * max(bump.z, 0.05));
}
#endif

float4 main(Pixel pixel) : SV_Target0
{
    float4 base = BaseTexture.Sample(BaseSampler, pixel.uv) * baseColor * pixel.color;
    if (base.a < surface.w) {
        discard;
    }
    // Without blending alpha has no further say.
    float alpha = lerp(1.0, base.a, surface.z);
    float3 toViewer = normalize(global_ViewPos.xyz - pixel.place);
    float3 face = cross(ddx(pixel.place), ddy(pixel.place));
    float faceLength = length(face);
    face = faceLength > 1e-20 ? face / faceLength : toViewer;
    face = dot(face, toViewer) < 0.0 ? -face : face;

    float normalLength = length(pixel.normal);
    float3 normal = normalLength > 1e-20 ? pixel.normal / normalLength : face;
    // Both sides are lit: models turn their faces every way.
    normal = dot(normal, face) < 0.0 ? -normal : normal;

    Surface s;
    s.position = pixel.place;
    s.faceNormal = face;
    s.toViewer = toViewer;
    s.color = base.rgb;
    s.metallic = surface.x;
    s.roughness = surface.y;
    float3 glow = emissive.rgb;
#ifdef FULL
    normal = BendNormal(normal, pixel.place, pixel.uv);
    float4 values = SurfaceTexture.Sample(BaseSampler, pixel.uv);
    s.roughness = clamp(s.roughness * values.g, 0.05, 1.0);
    s.metallic *= values.b;
    glow *= EmissiveTexture.Sample(BaseSampler, pixel.uv).rgb;
#endif
    s.normal = normal;

    if (emissive.w > 0.5) {
        return float4((base.rgb + glow) * alpha, alpha);
    }
    float3 diffuse;
    float3 mirrored;
    LightSurface(s, diffuse, mirrored);
    return float4((diffuse + glow) * alpha + mirrored, alpha);
}
