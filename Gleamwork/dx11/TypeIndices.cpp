// Names and indices of the object types.
#include "Gleamwork/dx11/TypeIndices.h"

#include "Gleamwork/Shader.h"
#include "Gleamwork/dx11/D3D11Structs.h"

#include <qs/ObjectContainer.h>
#include <qs/ObjectTypeManager.h>

#include <cstddef>
#include <iterator>

namespace api {
namespace {

struct ObjectType
{
    const char* name;
    void (*setIndex)(qs::u32 index); ///< null for types without a table
    qs::u32 index;
};

ObjectType s_objectTypes[] = {
    {"Texture", &qs::ObjectContainer<Texture>::SetTypeIndex, 0},
    {"Shader", &qs::ObjectContainer<Shader>::SetTypeIndex, 0},
    {"IndexBuffer", &qs::ObjectContainer<IndexBuffer>::SetTypeIndex, 0},
    {"VertexBuffer", &qs::ObjectContainer<VertexBuffer>::SetTypeIndex, 0},
    {"VertexFormat", &qs::ObjectContainer<VertexFormat>::SetTypeIndex, 0},
    {"SamplerState", &qs::ObjectContainer<SamplerState>::SetTypeIndex, 0},
    {"BlendState", &qs::ObjectContainer<BlendState>::SetTypeIndex, 0},
    {"DepthState", &qs::ObjectContainer<DepthState>::SetTypeIndex, 0},
    {"RasterizerState", &qs::ObjectContainer<RasterizerState>::SetTypeIndex, 0},
    {"SRV", nullptr, 0},
    {"TextureRemoveData", &qs::ObjectContainer<TextureRemoveData>::SetTypeIndex, 0},
    {"StructuredBuffer", &qs::ObjectContainer<StructuredBuffer>::SetTypeIndex, 0},
    {"Constant", nullptr, 0},
    {"ConstantBuffer", &qs::ObjectContainer<ConstantBuffer>::SetTypeIndex, 0},
};

} // namespace

void RegisterObjectTypes()
{
    qs::ObjectTypeManager* manager = qs::ObjectTypeManager::GetInstance();
    for (ObjectType& type : s_objectTypes) {
        type.index = manager->RegisterTypeIndex(type.name);
        if (type.setIndex) {
            type.setIndex(type.index);
        }
    }
}

void UnregisterObjectTypes()
{
    qs::ObjectTypeManager* manager = qs::ObjectTypeManager::GetInstance();
    for (std::size_t i = std::size(s_objectTypes); i-- > 0;) {
        manager->UnregisterTypeIndex(s_objectTypes[i].index);
    }
}

} // namespace api
