# Usage: install.ps1 [-Engine rows|reference] [-Folder FOLDER]
# Puts Lomix.aex where After Effects and Premiere Pro find it, and Lomix.ofx.bundle where OpenFX hosts do;
# with -Folder only the first, in that folder. Both engines draw the same pixels; rows, the default, is the
# fast one.
param(
    [ValidateSet('rows', 'reference')] [string] $Engine = 'rows',
    [string] $Folder
)
$ErrorActionPreference = 'Stop'
. (Join-Path $PSScriptRoot 'Folder.ps1')

$common = -not $Folder
$Folder = Resolve-PluginFolder $Folder
$source = Join-Path $PSScriptRoot 'Lomix.aex'
if ($Engine -eq 'reference') { $source = Join-Path $PSScriptRoot 'reference\Lomix.aex' }
$target = Join-Path $Folder 'Lomix'
try {
    New-Item -ItemType Directory -Force $target | Out-Null
    Copy-Item $source (Join-Path $target 'Lomix.aex') -Force
    # Windows marks downloaded files, and some systems refuse to load a marked module.
    Unblock-File (Join-Path $target 'Lomix.aex')
} catch {
    Stop-WithError "${target}: $($_.Exception.Message) (close After Effects and Premiere Pro)"
}
Write-Output "Installed '$(Join-Path $target 'Lomix.aex')' (engine $Engine)."

if ($common) {
    $bundle = Join-Path (Get-OpenFxFolder) 'Lomix.ofx.bundle'
    try {
        New-Item -ItemType Directory -Force (Get-OpenFxFolder) | Out-Null
        if (Test-Path $bundle) { Remove-Item $bundle -Recurse -Force }
        Copy-Item (Join-Path $PSScriptRoot 'Lomix.ofx.bundle') $bundle -Recurse -Force
        Get-ChildItem $bundle -Recurse -File | Unblock-File
    } catch {
        Stop-WithError "${bundle}: $($_.Exception.Message) (close all programs that use it)"
    }
    Write-Output "Installed '$bundle'."
}
