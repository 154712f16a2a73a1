# Usage: uninstall.ps1 [-Folder FOLDER]
# Removes what install.ps1 installed.
param([string] $Folder)
$ErrorActionPreference = 'Stop'
. (Join-Path $PSScriptRoot 'Folder.ps1')

$common = -not $Folder
$Folder = Resolve-PluginFolder $Folder
$target = Join-Path $Folder 'Lomix'
if (-not (Test-Path (Join-Path $target 'Lomix.aex'))) {
    Stop-WithError "${target}: Lomix is not installed there (name the folder with -Folder)"
}
try {
    Remove-Item (Join-Path $target 'Lomix.aex') -Force
    if (-not (Get-ChildItem $target -Force)) { Remove-Item $target }
    $bundle = Join-Path (Get-OpenFxFolder) 'Lomix.ofx.bundle'
    if ($common -and (Test-Path $bundle)) { Remove-Item $bundle -Recurse -Force }
} catch {
    Stop-WithError "${target}: $($_.Exception.Message) (close After Effects and Premiere Pro)"
}
Write-Output "Removed Lomix from '$Folder'."
