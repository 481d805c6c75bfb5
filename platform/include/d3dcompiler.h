// The shader compiler: HLSL text in, a checked binary form out, and reflection of that form.
// Names, values and signatures are the published ones.
//
// Targets: vs, ps, gs, hs, ds and cs, each as _4_0, _4_1 and _5_0 (hs and ds as _5_0 only). Every call may be made
// on any thread, several at once. Compiled shaders are kept on disk below the folder of GLEAM_CACHE (the user's cache
// folder by default, nowhere when it is `off`) under a key made of the text, its macros and includes, the target and
// the flags, so that the same compilation is done once.
#pragma once

#include "d3d11shader.h"

#define D3D_COMPILER_VERSION 47
#define D3DCOMPILER_DLL_A "d3dcompiler_47.dll"
#define D3DCOMPILER_DLL_W L"d3dcompiler_47.dll"

#define D3DCOMPILE_DEBUG 0x00000001
#define D3DCOMPILE_SKIP_VALIDATION 0x00000002
#define D3DCOMPILE_SKIP_OPTIMIZATION 0x00000004
#define D3DCOMPILE_PACK_MATRIX_ROW_MAJOR 0x00000008
#define D3DCOMPILE_PACK_MATRIX_COLUMN_MAJOR 0x00000010
#define D3DCOMPILE_PARTIAL_PRECISION 0x00000020
#define D3DCOMPILE_FORCE_VS_SOFTWARE_NO_OPT 0x00000040
#define D3DCOMPILE_FORCE_PS_SOFTWARE_NO_OPT 0x00000080
#define D3DCOMPILE_NO_PRESHADER 0x00000100
#define D3DCOMPILE_AVOID_FLOW_CONTROL 0x00000200
#define D3DCOMPILE_PREFER_FLOW_CONTROL 0x00000400
#define D3DCOMPILE_ENABLE_STRICTNESS 0x00000800
#define D3DCOMPILE_ENABLE_BACKWARDS_COMPATIBILITY 0x00001000
#define D3DCOMPILE_IEEE_STRICTNESS 0x00002000
#define D3DCOMPILE_OPTIMIZATION_LEVEL0 0x00004000
#define D3DCOMPILE_OPTIMIZATION_LEVEL1 0x00000000
#define D3DCOMPILE_OPTIMIZATION_LEVEL2 0x0000c000
#define D3DCOMPILE_OPTIMIZATION_LEVEL3 0x00008000
#define D3DCOMPILE_RESERVED16 0x00010000
#define D3DCOMPILE_RESERVED17 0x00020000
#define D3DCOMPILE_WARNINGS_ARE_ERRORS 0x00040000
#define D3DCOMPILE_RESOURCES_MAY_ALIAS 0x00080000

/// Serves #include from files: names are relative to the file that includes, then to the folder of the source name,
/// then to the working folder.
#define D3D_COMPILE_STANDARD_FILE_INCLUDE ((ID3DInclude*)(UINT_PTR)1)

extern "C" {

/// Compiles one stage.
///
/// `source` need not end in a zero byte. `sourceName` (may be null) stands in front of messages. `defines` is null or
/// ends with a pair of nulls. Without `include` every #include is an error. `flags1` takes the D3DCOMPILE_ values:
/// the two matrix packings, SKIP_OPTIMIZATION, SKIP_VALIDATION and WARNINGS_ARE_ERRORS act, the others are accepted;
/// `flags2` concerns effects and is accepted.
///
/// On success `*code` holds the compiled shader and `*messages` the warnings, or null. On failure `*code` is null and
/// `*messages` holds one line `name(line,column): error Xnnnn: text` for each error. Either out pointer may be null
/// (without `code` the text is still checked). Returns E_INVALIDARG for null or oversized text, entry or target,
/// E_OUTOFMEMORY, or E_FAIL when the text does not compile.
GLEAM_PLATFORM_API HRESULT WINAPI D3DCompile(LPCVOID source, SIZE_T sourceSize, LPCSTR sourceName,
                                             const D3D_SHADER_MACRO* defines, ID3DInclude* include, LPCSTR entryPoint,
                                             LPCSTR target, UINT flags1, UINT flags2, ID3DBlob** code,
                                             ID3DBlob** messages);

/// Expands macros and includes only. The text in `*text` ends with a zero byte that its size counts.
GLEAM_PLATFORM_API HRESULT WINAPI D3DPreprocess(LPCVOID source, SIZE_T sourceSize, LPCSTR sourceName,
                                                const D3D_SHADER_MACRO* defines, ID3DInclude* include, ID3DBlob** text,
                                                ID3DBlob** messages);

/// Gives the ID3D11ShaderReflection (`riid`) of a compiled shader, whose bytes need not outlive the call.
/// E_NOINTERFACE for another `riid`, E_INVALIDARG for null arguments, E_FAIL for bytes that are no
/// compiled shader of this version or are damaged.
GLEAM_PLATFORM_API HRESULT WINAPI D3DReflect(LPCVOID code, SIZE_T codeSize, REFIID riid, void** reflector);

/// A zeroed blob of `size` bytes. E_INVALIDARG when `blob` is null, E_OUTOFMEMORY.
GLEAM_PLATFORM_API HRESULT WINAPI D3DCreateBlob(SIZE_T size, ID3DBlob** blob);
}

typedef HRESULT(WINAPI* pD3DCompile)(LPCVOID, SIZE_T, LPCSTR, const D3D_SHADER_MACRO*, ID3DInclude*, LPCSTR, LPCSTR,
                                     UINT, UINT, ID3DBlob**, ID3DBlob**);
typedef HRESULT(WINAPI* pD3DPreprocess)(LPCVOID, SIZE_T, LPCSTR, const D3D_SHADER_MACRO*, ID3DInclude*, ID3DBlob**,
                                        ID3DBlob**);
