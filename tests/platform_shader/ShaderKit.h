// Short ways to compile, reflect and inspect shaders in tests.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "d3dcompiler.h"
#include "shader/ShaderModule.h"
#include "shader/SpirvModule.h"

struct ReleaseObject
{
    void operator()(IUnknown* object) const { object->Release(); }
};
template <class T>
using Owned = std::unique_ptr<T, ReleaseObject>;

struct Compiled
{
    HRESULT result = E_FAIL;
    Owned<ID3DBlob> code;
    std::string messages;
};

struct CompileOptions
{
    std::string name = "test.hlsl";
    std::vector<D3D_SHADER_MACRO> macros; ///< without the closing pair
    ID3DInclude* include = nullptr;
    std::string entry = "main";
    UINT flags = D3DCOMPILE_OPTIMIZATION_LEVEL3;
};

Compiled Compile(std::string_view text, const char* target, const CompileOptions& options = {});

/// Compiles and reads back; fails the test when either does not work.
gleam::ShaderModule Module(std::string_view text, const char* target, const CompileOptions& options = {});

/// A compiled shader's reflection with shorter calls.
class Reflected
{
public:
    Reflected(std::string_view text, const char* target, const CompileOptions& options = {});

    ID3D11ShaderReflection* operator->() const { return m_reflection.get(); }
    D3D11_SHADER_DESC Desc() const;
    D3D11_SHADER_BUFFER_DESC Buffer(const char* name) const;
    D3D11_SHADER_VARIABLE_DESC Variable(const char* buffer, const char* name) const;
    D3D11_SHADER_TYPE_DESC Type(const char* buffer, const char* name) const;
    D3D11_SHADER_INPUT_BIND_DESC Binding(const char* name) const;
    /// "name:offset:size" of all variables of a buffer, and ".member:offset" of structures behind theirs.
    std::string Layout(const char* buffer) const;
    /// "SEMANTICn rR sS cC mM" of each row.
    std::vector<std::string> Signature(bool inputs) const;

private:
    Owned<ID3D11ShaderReflection> m_reflection;
};

/// Instructions with this operation.
std::vector<gleam::SpirvInstruction> All(const std::vector<std::uint32_t>& spirv, spv::Op op);

/// Sets an environment variable for the life of the object.
class EnvironmentGuard
{
public:
    EnvironmentGuard(const char* name, const std::string& value);
    ~EnvironmentGuard();

private:
    std::string m_name;
    std::string m_before;
    bool m_wasSet;
};

/// A folder that vanishes with the object.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    const std::string& Path() const { return m_path; }
    void Write(const std::string& name, const std::string& text) const;

private:
    std::string m_path;
};
