<#
.SYNOPSIS
Lists a folder of a catalogue, writes a meta-file and shows the errors of the library.

.DESCRIPTION
Needs the registered Windows module (regsvr32 ZorelOibIdxComLib.dll) and a 64-bit PowerShell.
PowerShell can use lists of strings, numbers, strings and objects, but not records (the files of a
listing, search criteria and results).

.EXAMPLE
.\browse.ps1 -DataFile C:\catalogue\C.dat -Folder C:\docs
#>
param(
    [Parameter(Mandatory)] [string] $DataFile,
    [string] $Folder = 'C:',
    [string] $Extensions = ''
)

$ErrorActionPreference = 'Stop'

function Remove-ComObject($Object) {
    if ($null -ne $Object) {
        [void][System.Runtime.InteropServices.Marshal]::FinalReleaseComObject($Object)
    }
}

$library = New-Object -ComObject ZorelOibIdxLib.COibIdxLib
$browser = $files = $file = $null
try {
    $browser = $library.BrowseOibDF($DataFile)
    foreach ($name in $browser.GetFolders($Folder)) {
        "folder  $name"
    }

    # An empty list of name endings selects no files, so GetFiles is called without one.
    $files = if ($Extensions) { $browser.GetFilesEx($Folder, $true, $Extensions) }
             else { $browser.GetFiles($Folder) }
    "{0} files, {1} bytes" -f $files.FilesCount, $files.TotalSize

    # The meta-file is in the folder of the catalogue; 2 is EIdxMetaCreateNewDetached.
    $path = [System.IO.Path]::ChangeExtension($DataFile, '.mtf')
    $file = $library.CreateMetaFile($path, 2)
    $file.SetAttr('Listing.Folder', $Folder)
    $file.SetAttr('Listing.Files', [string] $files.FilesCount)
    $file.FlushChanges()
    $file.EnumAllAttrs() | ForEach-Object { "{0} = {1}" -f $_, $file.GetExistingAttr($_) }
}
catch [System.Runtime.InteropServices.COMException] {
    # The library's message: the failed operation first, the cause last.
    Write-Error ("0x{0:X8} {1}: {2}" -f $_.Exception.HResult, $_.Exception.Source,
                 $_.Exception.Message) -ErrorAction Continue
    exit 1
}
finally {
    if ($null -ne $browser) { $browser.Close() }
    $file, $files, $browser, $library | ForEach-Object { Remove-ComObject $_ }
}
