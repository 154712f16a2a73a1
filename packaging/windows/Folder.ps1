# Where After Effects and Premiere Pro look for plug-ins that both use: what After Effects wrote into the
# registry, newest version first, else the folder that all versions share.
function Get-CommonPluginFolder {
    $versions = Get-ChildItem 'HKLM:\SOFTWARE\Adobe\After Effects' -ErrorAction SilentlyContinue |
        Where-Object { $_.PSChildName -match '^\d+(\.\d+)*$' } |
        Sort-Object { [double]($_.PSChildName -replace '^(\d+(\.\d+)?).*$', '$1') } -Descending
    foreach ($version in $versions) {
        $folder = (Get-ItemProperty $version.PSPath).CommonPluginInstallPath
        if ($folder -and (Test-Path $folder)) { return $folder }
    }
    return Join-Path $env:ProgramFiles 'Adobe\Common\Plug-ins\7.0\MediaCore'
}

# Ends with one line and exit code 1.
function Stop-WithError([string] $message) {
    [Console]::Error.WriteLine("error: $message")
    exit 1
}

# The folder that was given, else the common one, which belongs to the system.
function Resolve-PluginFolder([string] $folder) {
    if ($folder) { return $folder }
    $user = [Security.Principal.WindowsPrincipal][Security.Principal.WindowsIdentity]::GetCurrent()
    if (-not $user.IsInRole([Security.Principal.WindowsBuiltInRole]::Administrator)) {
        Stop-WithError 'Lomix: the folder belongs to the system (run this as administrator)'
    }
    return Get-CommonPluginFolder
}

# Where OpenFX hosts look for plug-ins.
function Get-OpenFxFolder { return Join-Path $env:CommonProgramFiles 'OFX\Plugins' }
