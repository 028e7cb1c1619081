# Completion of qo-cmc for fish.

set -l verbs check records dump hex shading diff pack sample
set -l first "not __fish_seen_subcommand_from $verbs"

complete -c qo-cmc -n $first -f
complete -c qo-cmc -n $first -l version -d Version
complete -c qo-cmc -n $first -a check -d 'Say what is wrong with containers, and where'
complete -c qo-cmc -n $first -a records -d 'List the records, and what became of each'
complete -c qo-cmc -n $first -a dump -d 'Show what the parser makes of them'
complete -c qo-cmc -n $first -a hex -d 'Show the bytes, and what each one is'
complete -c qo-cmc -n $first -a shading -d 'Draw the lens-shading tables'
complete -c qo-cmc -n $first -a diff -d 'Show in which fields two containers differ'
complete -c qo-cmc -n $first -a pack -d 'Build a container from dump --json'
complete -c qo-cmc -n $first -a sample -d 'Write sample.vexb and sample.nvm'

function __qo_cmc_verb
    __fish_seen_subcommand_from $argv
end

complete -c qo-cmc -s h -l help -d Help
complete -c qo-cmc -n '__qo_cmc_verb check records dump hex' -s j -l jobs -x -d 'Files at once'
complete -c qo-cmc -n '__qo_cmc_verb check records dump hex diff' -l json -d JSON
complete -c qo-cmc -n '__qo_cmc_verb check records dump hex diff' -l color -x -a 'auto always never' -d Colours
complete -c qo-cmc -n '__qo_cmc_verb check dump shading' -l nvm -r -d 'NVM image of the module'
complete -c qo-cmc -n '__qo_cmc_verb check' -l allow-warnings -d 'Only a refused container counts'
complete -c qo-cmc -n '__qo_cmc_verb dump hex' -l record -x -d 'Only this kind'
complete -c qo-cmc -n '__qo_cmc_verb dump' -l full -d 'Every array whole'
complete -c qo-cmc -n '__qo_cmc_verb diff' -l nvm-a -r -d 'NVM image of the module of A'
complete -c qo-cmc -n '__qo_cmc_verb diff' -l nvm-b -r -d 'NVM image of the module of B'
complete -c qo-cmc -n '__qo_cmc_verb shading pack' -s o -l output -r -d 'File to write'
complete -c qo-cmc -n '__qo_cmc_verb pack' -l checksum -x -a '1 2' -d 'Rule of the checksum'
