<#
.SYNOPSIS
Sets TARNEL_HOME, the server's installation root, which sourcetype.exe needs.

.EXAMPLE
.\install.ps1 -ServerDirectory 'C:\Program Files\Tarnel'

.EXAMPLE
.\install.ps1 -ServerDirectory D:\tarnel -Scope Machine    # for every account; needs an administrator
#>
[CmdletBinding()]
param(
    [Parameter(Mandatory = $true)]
    [string] $ServerDirectory,

    [ValidateSet('User', 'Machine')]
    [string] $Scope = 'User'
)
$ErrorActionPreference = 'Stop'

$root = (Resolve-Path -LiteralPath $ServerDirectory).ProviderPath
$configuration = Join-Path $root 'etc'
if (-not (Test-Path -LiteralPath $configuration -PathType Container)) {
    throw "There is no folder $configuration. Copy the folder etc of this package there, or name another directory."
}

[Environment]::SetEnvironmentVariable('TARNEL_HOME', $root, $Scope)
$env:TARNEL_HOME = $root
Write-Output "TARNEL_HOME is $root (scope $Scope). Programs started from now on see it."
