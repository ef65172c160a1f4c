#pragma once

// The workspace's log texts that several places write, each defined once;
// a text written in one place stands there. Several are kept exactly as
// the product has always written them: with a lost character shown as U+FFFD
// and "?", or cut one character short. Log readers match on them, so they are
// not to be "corrected".

namespace oru::workspace_text {

// Initialize and the three places.
inline constexpr wchar_t kSeparator[] = L"========================================";
inline constexpr wchar_t kMegabytes[] = L" MB";
inline constexpr wchar_t kCreated[] = L"临时目录创建成功: ";
inline constexpr wchar_t kTempPathFailed[] = L"GetTempPath() 失败或路径过长";
inline constexpr wchar_t kPathLabel[] = L"  路径: ";
inline constexpr wchar_t kDiskSpaceLow[] = L"  磁盘空间不足";
inline constexpr wchar_t kDirectoryCreateFailed[] = L"  目录创建失败";
inline constexpr wchar_t kWriteTestFailedShort[] = L"  写入权限测试失败";
inline constexpr wchar_t kTavrinCreated[] = L"  Tavrin 子目录创建成";
inline constexpr wchar_t kTavrinFailed[] = L"  Tavrin子目录创建失";

// Free space and the write test.
inline constexpr wchar_t kWriteTestFailed[] = L"  写入测试失败，错误码: ";

// DeleteDirectoryRecursive.
inline constexpr wchar_t kRemoveFailed[] = L"      RemoveDirectory 失败，错误码: ";
// Not among the product's historic texts: a link is removed, never entered.
inline constexpr wchar_t kDeleteLinkOnly[] = L"      链接只删除自身，不进入: ";

// Appended to the workspace's own name for the children's working folder.
inline constexpr wchar_t kWorkingFolderSuffix[] = L"_cwd";

// Not historic: a place reached through a link is not used, nor swept.
inline constexpr wchar_t kLinkOnTheWay[] = L"  链接在路径上，不使用: ";

// Stale workspaces of earlier runs.
// Not historic either: a link named like a workspace is never followed.
inline constexpr wchar_t kStaleLinkLeftAlone[] = L"  跳过链接（不是工作目录）: ";

// Removing this run's workspace.
inline constexpr wchar_t kCleanupFailed[] = L"⚠️ 临时目录清理失败，可能存在残�? ";

}  // namespace oru::workspace_text
