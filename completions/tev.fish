# Completion of tev for fish.

set -l verbs list info tree results values diff sets check blocks block cdf help

# The names of a list ("parts", "results", "nodeSets") in the model that the command line names.
function __tev_names
    set -l words (commandline -opc)
    tev info --json $words[3] 2>/dev/null |
        sed -n '/^      "'$argv[1]'": \[$/,/^      \]/s/^          "name": "\([^\\\\]*\)",$/\1/p' | sort -u
end

function __tev_geometries
    set -l words (commandline -opc)
    tev tree --json $words[3] 2>/dev/null |
        sed -n '/^ *"kind": "Geometry",$/{n;s/^ *"name": "\([^\\\\]*\)",$/\1/p}' | sort -u
end

complete -c tev -n "not __fish_seen_subcommand_from $verbs" -f -a "$verbs"
complete -c tev -s h -l help -d 'Print help'
complete -c tev -s V -l version -d 'Print the version'
complete -c tev -s o -l output -r -d 'Write to a file'
complete -c tev -l json -d 'Write one JSON document'
complete -c tev -l jsonl -d 'Write a line of JSON for each file'
complete -c tev -l progress -d 'Tell how far the run is'
complete -c tev -l no-progress
complete -c tev -n '__fish_seen_subcommand_from list info tree check blocks' -l files0-from -r
complete -c tev -n '__fish_seen_subcommand_from list' -l csv -d 'Write comma-separated values'
complete -c tev -n '__fish_seen_subcommand_from tree' -l depth -x -d 'Of the deepest nodes'
complete -c tev -n '__fish_seen_subcommand_from tree' -s v -l verbose
complete -c tev -n '__fish_seen_subcommand_from tree' -l storage
complete -c tev -n '__fish_seen_subcommand_from block' -l raw
complete -c tev -n '__fish_seen_subcommand_from results values diff' -l part -x -a '(__tev_names parts)'
complete -c tev -n '__fish_seen_subcommand_from results values diff' -l result -x -a '(__tev_names results)'
complete -c tev -n '__fish_seen_subcommand_from sets; and test (count (commandline -opc)) -eq 3' -f -a '(__tev_names nodeSets)'
complete -c tev -n '__fish_seen_subcommand_from cdf; and test (count (commandline -opc)) -eq 3' -f -a '(__tev_geometries)'
