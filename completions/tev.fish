# Completion of tev for fish.

function __tev_verbs
    tev help | sed -n '/^Verbs:/,/^$/s/^  \([a-z][a-z]*\) .*/\1/p'
    echo help
end

# The options of the verb, as its help has them.
function __tev_options
    set -l words (commandline -opc)
    tev $words[2] --help 2>/dev/null | sed -n 's/^ *\(-[A-Za-z],\)\{0,1\}\(--[a-z0-9-]*\).*/\2/p'
end

# The arguments that stand after the verb, without options and their values.
function __tev_arguments
    set -l skip 0
    for word in (commandline -opc)[3..-1]
        if test $skip = 1
            set skip 0
        else if contains -- $word -o --output --files0-from --depth --part --result --step -j --jobs --format --rtol --atol --cells --catalogue --shard --category --above --below
            set skip 1
        else if not string match -q -- '-?*' $word
            echo $word
        end
    end
end

# The names of a list ("parts") in the model, which is the first argument; those that JSON has to escape
# are left out.
function __tev_names
    set -l key name
    test "$argv[1]" = steps; and set key text
    set -l model (__tev_arguments)[1]
    tev info --json -- $model 2>/dev/null |
        sed -n '/^      "'$argv[1]'": \[$/,/^      \]/s/^          "'$key'": "\([^\\\\]*\)",$/\1/p' | awk '!seen[$0]++'
end

function __tev_geometries
    set -l model (__tev_arguments)[1]
    tev tree --json -- $model 2>/dev/null |
        sed -n '/^ *"kind": "Geometry",$/{n;s/^ *"name": "\([^\\\\]*\)",$/\1/p}' | sort -u
end

# What a column of a table has in the catalogue, but for what CSV has to quote.
function __tev_values
    set -l catalogue (__tev_arguments)[1]
    tev query --csv -- $catalogue "SELECT DISTINCT $argv[1] FROM $argv[2] WHERE $argv[1] IS NOT NULL ORDER BY 1" 2>/dev/null |
        sed '1d; /^"/d'
end

function __tev_is_after
    set -l words (commandline -opc)
    contains -- "$words[2]" $argv; and test (count (__tev_arguments)) -eq 1
end

set -l has_verb 'test (count (commandline -opc)) -gt 1'
complete -c tev -n "not $has_verb" -f -a '(__tev_verbs) --help --version'
complete -c tev -n '__fish_seen_subcommand_from help' -f -a '(__tev_verbs)'
complete -c tev -n "$has_verb; and string match -q -- '-*' (commandline -ct)" -f -a '(__tev_options)'
set -l of_fields '__fish_seen_subcommand_from results values diff export view'
complete -c tev -n "$of_fields" -l part -x -a '(__tev_names parts)'
complete -c tev -n "$of_fields" -l result -x -a '(__tev_names results)'
complete -c tev -n "$of_fields" -l step -x -a '(__tev_names steps)'
complete -c tev -n '__fish_seen_subcommand_from results diff' -s j -l jobs -x
complete -c tev -n '__fish_seen_subcommand_from find' -l result -x -a '(__tev_values name results)'
complete -c tev -n '__fish_seen_subcommand_from find' -l category -x -a '(__tev_values category models)'
complete -c tev -n '__fish_seen_subcommand_from find' -l above -x
complete -c tev -n '__fish_seen_subcommand_from find' -l below -x
complete -c tev -n '__fish_seen_subcommand_from scan' -l catalogue -r
complete -c tev -n '__fish_seen_subcommand_from scan' -l shard -x
complete -c tev -n '__fish_seen_subcommand_from values' -l format -x -a 'csv npy'
complete -c tev -n '__fish_seen_subcommand_from export view' -l cells -x -a auto
complete -c tev -n '__fish_seen_subcommand_from view' -l component -x -a magnitude
complete -c tev -n '__fish_seen_subcommand_from view' -l size -x
complete -c tev -n '__fish_seen_subcommand_from view' -l max-size -x
complete -c tev -n '__fish_seen_subcommand_from view' -l view -x -a 'iso +x -x +y -y +z -z'
complete -c tev -n '__fish_seen_subcommand_from view' -l range -x -a 'all step'
complete -c tev -n '__fish_seen_subcommand_from view' -l colours -x -a 'viridis cividis'
complete -c tev -n '__fish_seen_subcommand_from diff' -l rtol -x
complete -c tev -n '__fish_seen_subcommand_from diff' -l atol -x
complete -c tev -n '__fish_seen_subcommand_from tree' -l depth -x
complete -c tev -n "$has_verb" -s o -l output -r
complete -c tev -n "$has_verb; and contains -- --files0-from (__tev_options)" -l files0-from -r
complete -c tev -n '__tev_is_after sets' -f -a '(__tev_names nodeSets)'
complete -c tev -n '__tev_is_after cdf' -f -a '(__tev_geometries)'
