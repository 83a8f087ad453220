#Requires -Version 5.1
<#
.SYNOPSIS
Installs sourcetype for your account, and takes the installation back.

.DESCRIPTION
Run it from the unpacked package. It

- copies the programs and documents to the folder -Destination,
- copies the configuration to the folder etc of the server's root (-Root),
- sets the variable TARNEL_HOME of your account to that root,
- adds the folder of the programs to the Path of your account.

A file that exists is never replaced. What was done is written to install-manifest.json in the folder
of the programs. -Uninstall takes back exactly that: it deletes the copied files and the folders made
for them, and restores the variables. Files and variables that were changed since stay, and are named.

No administrator is needed, except to write to the chosen folders.

.PARAMETER Destination
The folder of the programs. It is made if it does not exist.

.PARAMETER Root
The server's root, which has a folder etc. Without this parameter it is TARNEL_HOME, or if that is not
set, the folder of the programs.

.PARAMETER Uninstall
Takes back the installation in -Destination.

.EXAMPLE
.\install.ps1 -Root 'C:\Program Files\Tarnel' -WhatIf

Shows what would be done.

.EXAMPLE
.\install.ps1 -Destination D:\tools\sourcetype -Root D:\tarnel

.EXAMPLE
.\install.ps1 -Uninstall -Destination D:\tools\sourcetype
#>
[CmdletBinding(SupportsShouldProcess = $true, DefaultParameterSetName = 'Install')]
param(
    [ValidateNotNullOrEmpty()]
    [string] $Destination = "$env:LOCALAPPDATA\Programs\sourcetype",

    [Parameter(ParameterSetName = 'Install')]
    [string] $Root,

    [Parameter(ParameterSetName = 'Uninstall', Mandatory = $true)]
    [switch] $Uninstall
)
Set-StrictMode -Version 3.0
$ErrorActionPreference = 'Stop'

function Get-FullPath([string] $Path) {
    $full = $ExecutionContext.SessionState.Path.GetUnresolvedProviderPathFromPSPath($Path)
    if ($full.Length -gt 3) { $full = $full.TrimEnd('\') } # "C:\" keeps its backslash
    return $full
}

function Get-Hash([string] $Path) {
    return (Get-FileHash -LiteralPath $Path -Algorithm SHA256).Hash
}

# --- Variables of the account, as they are stored: with %NAME% in them ---

function Get-UserVariable([string] $Name) {
    $key = [Microsoft.Win32.Registry]::CurrentUser.OpenSubKey('Environment')
    if ($null -eq $key) { return $null }
    try { return $key.GetValue($Name, $null, 'DoNotExpandEnvironmentNames') } finally { $key.Dispose() }
}

# $null as the value deletes the variable.
function Set-UserVariable([string] $Name, $Value) {
    $key = [Microsoft.Win32.Registry]::CurrentUser.CreateSubKey('Environment')
    try {
        if ($null -eq $Value) {
            $key.DeleteValue($Name, $false)
        } else {
            $kind = 'String'
            if ($key.GetValueNames() -contains $Name) {
                $kind = $key.GetValueKind($Name)
            } elseif ($Name -eq 'Path') {
                $kind = 'ExpandString'
            }
            $key.SetValue($Name, [string] $Value, $kind)
        }
    } finally { $key.Dispose() }
    # Deleting a variable that does not exist tells running programs that the variables have changed.
    [Environment]::SetEnvironmentVariable('SOURCETYPE_NO_SUCH_VARIABLE', [NullString]::Value, 'User')
}

function Test-SameFolder([string] $Entry, [string] $Folder) {
    return [Environment]::ExpandEnvironmentVariables($Entry).TrimEnd('\') -eq $Folder.TrimEnd('\')
}

function Test-InPath($List, [string] $Folder) {
    return @("$List".Split(';') | Where-Object { $_ -ne '' -and (Test-SameFolder $_ $Folder) }).Count -gt 0
}

function Remove-FromPath($List, [string] $Folder) {
    return @("$List".Split(';') | Where-Object { $_ -eq '' -or -not (Test-SameFolder $_ $Folder) }) -join ';'
}

function Add-ToPath($List, [string] $Folder) {
    if ("$List" -eq '') { return $Folder }
    return "$List".TrimEnd(';') + ';' + $Folder
}

# --- Installing ---

function Write-Manifest($Done) {
    $plain = @{
        files   = @($Done.files | ForEach-Object { $_ })
        folders = @($Done.folders | ForEach-Object { $_ })
        home    = $Done.home
        path    = $Done.path
    }
    $json = ConvertTo-Json -InputObject $plain -Depth 4
    [IO.File]::WriteAllText($manifestFile, $json, (New-Object Text.UTF8Encoding $false))
}

# Makes the folder and those above it, and records those that did not exist, the outermost first.
function Add-Folder([string] $Folder, $Done) {
    if ([IO.Directory]::Exists($Folder)) { return }
    Add-Folder ([IO.Path]::GetDirectoryName($Folder)) $Done
    [void] [IO.Directory]::CreateDirectory($Folder)
    $Done.folders.Add($Folder)
}

function Copy-NewFile([string] $From, [string] $To, $Done) {
    if ([IO.File]::Exists($To) -or [IO.Directory]::Exists($To)) {
        if (-not [IO.File]::Exists($To) -or (Get-Hash $From) -ne (Get-Hash $To)) {
            Write-Output "kept: $To (not the one of this package)"
        }
        return
    }
    if (-not $PSCmdlet.ShouldProcess($To, 'Copy')) { return }
    Add-Folder ([IO.Path]::GetDirectoryName($To)) $Done
    [IO.File]::Copy($From, $To, $false) # fails if the file exists meanwhile
    $Done.files.Add(@{ path = $To; sha256 = (Get-Hash $To) })
}

# The files of the package, relative to its folder. What runs of the programs wrote to an unpacked
# package is not part of it.
function Get-PackageFile {
    foreach ($file in Get-ChildItem -LiteralPath $PSScriptRoot -Recurse -File -Force) {
        $name = $file.FullName.Substring($PSScriptRoot.Length).TrimStart('\')
        if ($name -match '^etc\\(.*\\)?local\\' -or $name -eq 'etc\log-cmdline-local.cfg') { continue }
        if ($name -eq 'install-manifest.json') { continue }
        $name
    }
}

function Resolve-Root {
    $wanted = $Root
    if (-not $wanted) { $wanted = Get-UserVariable 'TARNEL_HOME' }
    if (-not $wanted) { $wanted = $env:TARNEL_HOME }
    if (-not $wanted) { return $Destination }
    $folder = Get-FullPath ([Environment]::ExpandEnvironmentVariables($wanted))
    if (-not [IO.Directory]::Exists($folder)) { throw "The server's root $folder does not exist." }
    return $folder
}

# Warns if a root that has a configuration lacks what the server's configuration has.
function Test-Root([string] $Folder) {
    $configuration = [IO.Path]::Combine($Folder, 'etc')
    if (-not [IO.Directory]::Exists($configuration)) {
        Write-Output "$Folder has no folder etc; the configuration of this package is copied there."
        return
    }
    foreach ($name in 'datetime.xml', 'log-cmdline.cfg') {
        if (-not [IO.File]::Exists([IO.Path]::Combine($configuration, $name))) {
            Write-Warning "$configuration has no $name; the one of this package is copied there. Is this the server's root?"
        }
    }
}

function Set-Home([string] $Folder, $Done) {
    $before = Get-UserVariable 'TARNEL_HOME'
    if ($before -eq $Folder) { return }
    if (-not $PSCmdlet.ShouldProcess("TARNEL_HOME of your account: $Folder", 'Set')) { return }
    Set-UserVariable 'TARNEL_HOME' $Folder
    $Done.home = @{ before = $before; after = $Folder }
    $env:TARNEL_HOME = $Folder
}

function Set-SearchPath($Done) {
    $before = Get-UserVariable 'Path'
    if (Test-InPath $before $Destination) { return }
    if (-not $PSCmdlet.ShouldProcess("Path of your account: $Destination", 'Add')) { return }
    $after = Add-ToPath $before $Destination
    Set-UserVariable 'Path' $after
    $Done.path = @{ before = $before; after = $after; entry = $Destination }
    $env:Path = Add-ToPath $env:Path $Destination
}

function Install-Package {
    foreach ($name in 'sourcetype.exe', 'etc\log-cmdline.cfg') {
        if (-not [IO.File]::Exists([IO.Path]::Combine($PSScriptRoot, $name))) {
            throw "There is no $name beside install.ps1. Run install.ps1 from the unpacked package."
        }
    }
    if ([IO.File]::Exists($manifestFile)) {
        throw "$Destination has an installation. Take it back with -Uninstall first; what you changed stays."
    }
    if ($Destination.Contains(';')) { throw "Path cannot contain the folder $Destination, whose name has a semicolon." }
    $server = Resolve-Root
    Test-Root $server

    $done = @{
        files   = [Collections.Generic.List[object]]::new()
        folders = [Collections.Generic.List[object]]::new()
        home    = $null
        path    = $null
    }
    try {
        foreach ($name in Get-PackageFile) {
            $to = if ($name.StartsWith('etc\')) { $server } else { $Destination }
            Copy-NewFile ([IO.Path]::Combine($PSScriptRoot, $name)) ([IO.Path]::Combine($to, $name)) $done
        }
        Set-SearchPath $done
        Set-Home $server $done
    } finally {
        # After an error, too: -Uninstall can then take back what was done before it.
        if ($done.files.Count -gt 0 -or $done.home -or $done.path) {
            Add-Folder $Destination $done
            Write-Manifest $done
        }
    }
    if ($WhatIfPreference) { return }
    Write-Output "$($done.files.Count) files copied. TARNEL_HOME: $server. Consoles opened from now on find sourcetype."
}

# --- Taking it back ---

# Deletes the copied files that were not changed, and returns those that could not be deleted.
function Remove-CopiedFile($Files) {
    foreach ($file in $Files) {
        if (-not [IO.File]::Exists($file.path)) {
            Write-Warning "$($file.path) is not there any more."
        } elseif ((Get-Hash $file.path) -ne $file.sha256) {
            Write-Warning "$($file.path) was changed and stays."
        } elseif ($PSCmdlet.ShouldProcess($file.path, 'Delete')) {
            try {
                [IO.File]::Delete($file.path)
            } catch {
                Write-Warning "$($file.path) cannot be deleted: $($_.Exception.Message)"
                $file
            }
        }
    }
}

function Restore-Home($Change) {
    if (-not $Change) { return }
    if ((Get-UserVariable 'TARNEL_HOME') -ne $Change.after) {
        Write-Warning 'TARNEL_HOME was changed and stays.'
    } elseif ($PSCmdlet.ShouldProcess("TARNEL_HOME of your account: $($Change.before)", 'Restore')) {
        Set-UserVariable 'TARNEL_HOME' $Change.before
        $env:TARNEL_HOME = $Change.before
    }
}

function Restore-SearchPath($Change) {
    if (-not $Change) { return }
    $current = Get-UserVariable 'Path'
    if (-not (Test-InPath $current $Change.entry)) {
        Write-Warning "Path does not contain $($Change.entry) any more, and stays."
    } elseif ($PSCmdlet.ShouldProcess("Path of your account: $($Change.entry)", 'Remove')) {
        $value = if ($current -ceq $Change.after) { $Change.before } else { Remove-FromPath $current $Change.entry }
        Set-UserVariable 'Path' $value
        $env:Path = Remove-FromPath $env:Path $Change.entry
    }
}

function Remove-EmptyFolder($Folders) {
    $innermostFirst = @($Folders)
    [Array]::Reverse($innermostFirst)
    foreach ($folder in $innermostFirst) {
        if (-not [IO.Directory]::Exists($folder)) { continue }
        if (Get-ChildItem -LiteralPath $folder -Force | Select-Object -First 1) {
            Write-Output "kept: $folder (not empty)"
        } else {
            try { [IO.Directory]::Delete($folder) } catch { Write-Output "kept: $folder ($($_.Exception.Message))" }
        }
    }
}

function Uninstall-Package {
    if (-not [IO.File]::Exists($manifestFile)) {
        throw "$Destination has no install-manifest.json: install.ps1 has not installed anything there."
    }
    $done = ConvertFrom-Json -InputObject ([IO.File]::ReadAllText($manifestFile))
    $left = @(Remove-CopiedFile $done.files)
    Restore-SearchPath $done.path
    Restore-Home $done.home
    if ($WhatIfPreference) { return }
    if ($left.Count -gt 0) {
        Write-Manifest @{ files = $left; folders = $done.folders; home = $null; path = $null }
        throw "$($left.Count) files could not be deleted. Close the programs that use them and repeat -Uninstall."
    }
    [IO.File]::Delete($manifestFile)
    Remove-EmptyFolder $done.folders
    Write-Output 'The installation was taken back.'
}

$Destination = Get-FullPath $Destination
$manifestFile = [IO.Path]::Combine($Destination, 'install-manifest.json')
if ($Uninstall) { Uninstall-Package } else { Install-Package }
