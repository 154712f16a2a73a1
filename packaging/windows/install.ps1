# Usage: install.ps1 [-Engine rows|reference] [-Folder FOLDER]
# Puts Lomix.aex where After Effects and Premiere Pro find it. Both engines draw the same pixels; rows,
# the default, is the fast one.
param(
    [ValidateSet('rows', 'reference')] [string] $Engine = 'rows',
    [string] $Folder
)
$ErrorActionPreference = 'Stop'
. (Join-Path $PSScriptRoot 'Folder.ps1')

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
