# fish completion for tidewarden

set -l screens ai apps dedupe docker git ide large projects simulators system toolchains worktrees

# The command word, then the bare words after it (not options, not an option's value).
function __tidewarden_words
    set -l words (commandline -opc)
    set -e words[1]
    set -q words[1]; or return
    echo $words[1]
    set -e words[1]
    set -l skip_value 0
    set -l ended 0
    for word in $words
        if test $skip_value = 1
            set skip_value 0
            continue
        end
        if test $ended = 0
            switch $word
                case --
                    set ended 1
                    continue
                case '-*top' '-*depth' '-*limit'
                    set skip_value 1
                    continue
                case '-?*'
                    continue
            end
        end
        echo $word
    end
end

# No command word yet.
function __tidewarden_needs_command
    test (count (__tidewarden_words)) -eq 0
end

# The command word is one of the arguments.
function __tidewarden_command_is
    set -l words (__tidewarden_words)
    set -q words[1]; and contains -- $words[1] $argv
end

# The command word is one of the arguments and nothing bare follows it yet.
function __tidewarden_wants_subcommand
    set -l words (__tidewarden_words)
    test (count $words) -eq 1; and contains -- $words[1] $argv
end

# The bare word after the command is $argv[1], and the command word one of the rest.
function __tidewarden_subcommand_is
    set -l words (__tidewarden_words)
    test (count $words) -ge 2; and test $words[2] = $argv[1]; and contains -- $words[1] $argv[2..-1]
end

complete -c tidewarden -f

complete -c tidewarden -n __tidewarden_needs_command -a status -d 'Disk total, used, free and purgeable space'
complete -c tidewarden -n __tidewarden_needs_command -a scan -d 'Largest items in a folder'
complete -c tidewarden -n __tidewarden_needs_command -a junk -d 'Smart Clean categories and their sizes'
complete -c tidewarden -n __tidewarden_needs_command -a clean -d 'Delete caches and leftovers that rebuild themselves'
complete -c tidewarden -n __tidewarden_needs_command -a trash -d 'Items in the Trash, or empty it'
complete -c tidewarden -n __tidewarden_needs_command -a history -d 'What Tidewarden removed'
complete -c tidewarden -n __tidewarden_needs_command -a help -d 'Show the usage text'
complete -c tidewarden -n __tidewarden_needs_command -a "$screens" -d 'Developer screen'

complete -c tidewarden -n 'not __tidewarden_needs_command' -l json -d 'Print JSON (sizes in bytes)'

complete -c tidewarden -n '__tidewarden_command_is scan' -l top -x -d 'How many items to list (default 20)'
complete -c tidewarden -n '__tidewarden_command_is scan' -l depth -x -d 'Depth of the JSON tree (default 1)'
complete -c tidewarden -n '__tidewarden_wants_subcommand scan' -x -a '(__fish_complete_directories (commandline -ct) folder)'

complete -c tidewarden -n '__tidewarden_command_is junk' -l items -d 'List every path'

complete -c tidewarden -n '__tidewarden_command_is clean' -l safe -d 'Only the categories that rebuild themselves'
complete -c tidewarden -n '__tidewarden_command_is clean' -s n -l dry-run -d 'Show what would be deleted'
complete -c tidewarden -n '__tidewarden_command_is clean' -s y -l yes -d 'Really delete'

complete -c tidewarden -n '__tidewarden_command_is history' -l limit -x -d 'How many entries (default 20)'

complete -c tidewarden -n '__tidewarden_wants_subcommand trash' -a list -d 'Items in the Trash (default)'
complete -c tidewarden -n '__tidewarden_wants_subcommand trash' -a empty -d 'Permanently delete everything in the Trash'
complete -c tidewarden -n '__tidewarden_subcommand_is empty trash' -s n -l dry-run -d 'Show what would be deleted'
complete -c tidewarden -n '__tidewarden_subcommand_is empty trash' -s y -l yes -d 'Really delete'

complete -c tidewarden -n "__tidewarden_command_is $screens" -l selected -d 'Only the pre-selected items'
complete -c tidewarden -n "__tidewarden_wants_subcommand $screens" -a list -d 'The screen\'s items (default)'
complete -c tidewarden -n "__tidewarden_wants_subcommand $screens" -a clean -d 'Run the action of every pre-selected item'
complete -c tidewarden -n "__tidewarden_subcommand_is clean $screens" -s n -l dry-run -d 'Show what would be run'
complete -c tidewarden -n "__tidewarden_subcommand_is clean $screens" -s y -l yes -d 'Really run it'
