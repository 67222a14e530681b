# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
#
# Completion of the command wicket, for fish.

# A name that JSON writes with an escape is put together again by printf, which knows the same ones.
function __wicket_scripts
    wicket list --json 2>/dev/null | string replace --regex --filter '^[[ ]\{"name": "(.*)", "size": [0-9]+, "installedAt": .*$' '$1' |
        while read --line name
            printf '%b\n' $name
        end
end

set --local subcommands install run version list remove uninstall doctor
set --local none "not __fish_seen_subcommand_from $subcommands"

complete --command wicket --no-files
complete --command wicket --short-option h --long-option help --description 'Print the help and exit'
complete --command wicket --condition $none --long-option version --description 'Print the version of this command and exit'
complete --command wicket --condition $none --arguments install --description 'Install a script, after an administrator has agreed'
complete --command wicket --condition $none --arguments run --description 'Run an installed script as root'
complete --command wicket --condition $none --arguments version --description 'Print the version of the helper'
complete --command wicket --condition $none --arguments list --description 'List the installed scripts'
complete --command wicket --condition $none --arguments remove --description 'Remove an installed script'
complete --command wicket --condition $none --arguments uninstall --description 'Remove the helper from this machine'
complete --command wicket --condition $none --arguments doctor --description 'Explain why the helper would refuse this command'
complete --command wicket --condition '__fish_seen_subcommand_from install' --force-files
complete --command wicket --condition '__fish_seen_subcommand_from install' --long-option name --exclusive --description 'The name to install it under'
complete --command wicket --condition '__fish_seen_subcommand_from run' --long-option no-wait --description 'Return as soon as the script has started'
complete --command wicket --condition '__fish_seen_subcommand_from run remove' --arguments '(__wicket_scripts)'
complete --command wicket --condition '__fish_seen_subcommand_from list doctor' --long-option json --description 'Print JSON'
complete --command wicket --condition '__fish_seen_subcommand_from uninstall' --long-option all --description 'Remove all installed scripts as well'
complete --command wicket --condition '__fish_seen_subcommand_from uninstall' --long-option yes --description 'Do not ask'
