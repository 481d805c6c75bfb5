// In front of every section of the viewer's own shaders.

// Filled by the library from the view's render properties.
cbuffer View : register(b12)
{
    float4x4 global_View;
    float4x4 global_Projection;
    float4x4 global_ViewProjection;
    float4 global_ViewPos;
    float4 global_ViewInfo; // two free numbers, width and height of the target
    float4 global_ClusteredLighting;
};

static const float Pi = 3.14159265;

// The studio: a soft bright ceiling, a grey horizon, a floor that gives some light back. `up` is the y of a direction.
float3 StudioLight(float up)
{
    float3 sky = float3(0.86, 0.92, 1.0);
    float3 horizon = float3(0.60, 0.62, 0.66);
    float3 ground = float3(0.30, 0.28, 0.26);
    return up > 0.0 ? lerp(horizon, sky, sqrt(up)) : lerp(horizon, ground, sqrt(-up));
}

// The wall behind the model; `height` runs from 0 at the lower edge of the picture to 1.
float3 Backdrop(float height)
{
    return lerp(float3(0.30, 0.31, 0.33), float3(0.47, 0.53, 0.62), smoothstep(0.1, 1.0, height));
}
