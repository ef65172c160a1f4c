#pragma once

// Logged registry operations. Every outcome is one info line in the log;
// callers see only a string, a boolean or nothing, and nothing throws.

#include <windows.h>

#include <string>

namespace oru {

// Reads a value of at most 259 characters (520 bytes with its terminator)
// without checking its type. Empty on any failure: missing key or value, or
// data that does not fit.
[[nodiscard]] std::wstring ReadRegistryString(HKEY root, const std::wstring& sub_key, const std::wstring& value_name);

// Deletes sub_key and everything below it. A key that does not exist counts
// as a failure (false), deliberately.
[[nodiscard]] bool DeleteRegistryTree(HKEY root, const std::wstring& sub_key);

// Creates sub_key when missing and sets the value; value_name null means the
// key's default value. Both outcomes are logged with their result texts.
void WriteRegistryValue(HKEY root, const std::wstring& sub_key, const wchar_t* value_name, const DWORD* type,
                        const BYTE* data, const DWORD* size);

// "HKEY_CURRENT_USER" and its kin, or "Unknown HKEY".
[[nodiscard]] std::wstring RootKeyName(HKEY root);

// The Chinese result texts of RegCreateKeyExW and of RegSetValueExW.
[[nodiscard]] std::wstring CreateKeyResultText(LSTATUS code);
[[nodiscard]] std::wstring SetValueResultText(LSTATUS code);

}  // namespace oru
