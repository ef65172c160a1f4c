#pragma once

// The workspace's log texts, each defined once. Several are kept exactly as
// the product has always written them: with a lost character shown as U+FFFD
// and "?", or cut one character short. Log readers match on them, so they are
// not to be "corrected".

namespace oru::workspace_text {

// Initialize and the three places.
inline constexpr wchar_t kAlreadyInitialized[] = L"TempDirectoryManager already initialized";
inline constexpr wchar_t kSeparator[] = L"========================================";
inline constexpr wchar_t kManagerTitle[] = L"临时目录管理器初始化";
inline constexpr wchar_t kRequiredSpace[] = L"需要空�? ";
inline constexpr wchar_t kMegabytes[] = L" MB";
inline constexpr wchar_t kCreated[] = L"临时目录创建成功: ";
inline constexpr wchar_t kStrategySystemTemp[] = L"使用策略: 系统临时目录";
inline constexpr wchar_t kStrategyLocalAppData[] = L"使用策略: LocalAppData目录";
inline constexpr wchar_t kStrategyFallback[] = L"使用备用方案: EXE同目";
inline constexpr wchar_t kFallbackDirectory[] = L"临时目录: ";
inline constexpr wchar_t kAllStrategiesFailed[] = L"无法创建临时目录，所有策略都失败";
inline constexpr wchar_t kTempPathFailed[] = L"GetTempPath() 失败或路径过长";
inline constexpr wchar_t kTryPlace1[] = L"尝试策略1: 系统临时目录";
inline constexpr wchar_t kPathLabel[] = L"  路径: ";
inline constexpr wchar_t kDiskSpaceLow[] = L"  磁盘空间不足";
inline constexpr wchar_t kDirectoryCreateFailed[] = L"  目录创建失败";
inline constexpr wchar_t kWriteTestFailedShort[] = L"  写入权限测试失败";
inline constexpr wchar_t kCreatingTavrin[] = L"  开始创�?Tavrin 子目�?..";
inline constexpr wchar_t kTavrinPath[] = L"  Tavrin 子目录路�? ";
inline constexpr wchar_t kTavrinCreated[] = L"  Tavrin 子目录创建成";
inline constexpr wchar_t kPlace1Succeeded[] = L"  策略1成功";
inline constexpr wchar_t kTavrinFailed[] = L"  Tavrin子目录创建失";
inline constexpr wchar_t kLocalAppDataFailed[] = L"SHGetFolderPath(CSIDL_LOCAL_APPDATA) 失败";
inline constexpr wchar_t kTryPlace2[] = L"尝试策略2: LocalAppData目录";
inline constexpr wchar_t kPlace2Succeeded[] = L"  策略2成功";
inline constexpr wchar_t kTryPlace3[] = L"尝试策略3: EXE同目录（兜底)";
inline constexpr wchar_t kPlace3Succeeded[] = L"  策略3成功";

// Free space and the write test.
inline constexpr wchar_t kFreeSpaceQueryFailed[] = L"GetDiskFreeSpaceEx() 失败，错误码: ";
inline constexpr wchar_t kDiskSpacePassed[] = L"  磁盘空间检查通过: ";
inline constexpr wchar_t kAvailableSpace[] = L"  可用空间: ";
inline constexpr wchar_t kNeededSpace[] = L"  需要空�? ";
inline constexpr wchar_t kWriteTestPassed[] = L"  写入权限测试通过";
inline constexpr wchar_t kWriteTestFailed[] = L"  写入测试失败，错误码: ";

// CreateHiddenDirectory.
inline constexpr wchar_t kHiddenStart[] = L"    [CreateHiddenDirectory] 开始创建目�? ";
inline constexpr wchar_t kHiddenExistsDeleting[] = L"    目录已存在，尝试删除: ";
inline constexpr wchar_t kHiddenDeletedExisting[] = L"    删除已存在目录成";
inline constexpr wchar_t kHiddenDeleteExistingFailed[] = L"    删除已存在目录失";
inline constexpr wchar_t kHiddenCallingCreate[] = L"    调用 CreateDirectory()...";
inline constexpr wchar_t kHiddenCreateSucceeded[] = L"    CreateDirectory() 成功";
inline constexpr wchar_t kHiddenAlreadyExists[] = L"    目录已存在ERROR_ALREADY_EXISTS";
inline constexpr wchar_t kHiddenCreateFailed[] = L"    CreateDirectory() 失败，错误码: ";
inline constexpr wchar_t kHiddenSettingAttribute[] = L"    设置隐藏属�?..";
inline constexpr wchar_t kHiddenAttributeSet[] = L"    隐藏属性设置成";
inline constexpr wchar_t kHiddenAttributeFailed[] = L"    设置隐藏属性失败，错误�? ";
inline constexpr wchar_t kHiddenDone[] = L"    [CreateHiddenDirectory] 完成";

// CreateDirectoryTree.
inline constexpr wchar_t kParentCreateFailed[] = L"创建父目录失败，路径: ";
inline constexpr wchar_t kErrorLabel[] = L", 错误: ";
inline constexpr wchar_t kFinalCreateFailed[] = L"创建最终目录失败，错误�? ";

// DeleteDirectoryRecursive.
inline constexpr wchar_t kDeleteEmptyPath[] = L"      [DeleteDirectoryRecursive] 路径为空";
inline constexpr wchar_t kDeleteStart[] = L"      [DeleteDirectoryRecursive] 删除: ";
inline constexpr wchar_t kDeleteFindFailed[] = L"      FindFirstFile 失败，错误码: ";
inline constexpr wchar_t kDeleteCountPrefix[] = L"      删除";
inline constexpr wchar_t kDeleteCountFiles[] = L" 个文 ";
inline constexpr wchar_t kDeleteCountDirectories[] = L" 个子目录";
inline constexpr wchar_t kRemoveSucceeded[] = L"      RemoveDirectory 成功";
inline constexpr wchar_t kRemoveFailed[] = L"      RemoveDirectory 失败，错误码: ";
// Not among the product's historic texts: a link is removed, never entered,
// and a path that does not fit MAX_PATH is left alone rather than truncated.
inline constexpr wchar_t kDeleteLinkOnly[] = L"      链接只删除自身，不进入: ";
inline constexpr wchar_t kPathTooLong[] = L"      路径过长，跳过: ";

// Stale workspaces of earlier runs.
inline constexpr wchar_t kStaleStart[] = L"开始清理旧的残留目�?..";
inline constexpr wchar_t kStaleRemoved[] = L"  清理: ";
inline constexpr wchar_t kStaleDone[] = L"清理完成: ";
inline constexpr wchar_t kStaleCountSuffix[] = L" 个目 ";
inline constexpr wchar_t kStaleFreed[] = L"释放空间: ";
inline constexpr wchar_t kStaleNone[] = L"未发现旧的残留目录";
inline constexpr wchar_t kStaleSizeOpen[] = L" (";
inline constexpr wchar_t kStaleSizeClose[] = L" MB)";

// Removing this run's workspace.
inline constexpr wchar_t kCleanupStart[] = L"开始清理临时目�?..";
inline constexpr wchar_t kCleanupSucceeded[] = L"临时目录清理成功: ";
inline constexpr wchar_t kCleanupFailed[] = L"⚠️ 临时目录清理失败，可能存在残�? ";

}  // namespace oru::workspace_text
