#!/usr/bin/python3

import dataclasses
import os
import time

import support
import sysconfreader
from sysconfreader import Outcome, Subscription


class StatusTest(support.MasterTest):
    def test_Status_BeforeTheFirstLoad_IsEmpty(self):
        status = sysconfreader.status()
        self.assertEqual((status.last_load, status.reader.number, status.roles.number), (0, 0, 0))
        self.assertEqual(status.subscription, Subscription.NOT_SUBSCRIBED)
        self.assertEqual(status.reader.app_config.outcome, Outcome.NOT_READ)
        self.assertEqual(sysconfreader.generation(), 0)

    def test_Status_HasTheLastLoads(self):
        before = time.time_ns()
        sysconfreader.local_port()
        status = sysconfreader.status()
        self.assertEqual((status.last_load, status.roles.number, status.reader.number), (2, 1, 2))
        self.assertEqual(sysconfreader.generation(), 2)
        for load in (status.roles, status.reader):
            self.assertTrue(before <= load.started_at <= time.time_ns(), load)
            self.assertTrue(0 < load.duration <= time.time_ns() - before, load)
            self.assertIs(load.shortage, False)
            self.assertEqual(load.app_config.outcome, Outcome.LOADED)
            self.assertEqual(load.node_list.outcome, Outcome.LOADED)
        self.assertEqual(status.reader.manager_node_list.outcome, Outcome.NOT_READ)
        self.assertEqual(status.roles.manager_node_list.outcome, Outcome.LOADED)
        self.assertEqual(status.subscription, Subscription.SWITCHED_OFF)
        self.assertEqual(status.files_not_loaded(), [])

    def test_Status_SaysWhyAFileIsNotLoaded(self):
        self.app_config.write_text('{"processes": []}')
        self.node_list.write_text("{\n\n ,")
        (self.root / "manager/etc/sysconf/nodelists.json").unlink()
        sysconfreader.reload()
        status = sysconfreader.status()
        app_config = status.roles.app_config
        self.assertEqual(app_config.outcome, Outcome.VALUE_OF_WRONG_TYPE)
        self.assertEqual(app_config.pointer, "/processes")
        self.assertEqual(status.reader.app_config, app_config)
        self.assertEqual(status.reader.node_list.outcome, Outcome.NOT_READ)
        node_list = status.roles.node_list
        self.assertEqual(node_list.outcome, Outcome.MALFORMED)
        self.assertEqual((node_list.line, node_list.column), (3, 2))
        missing = status.roles.manager_node_list
        self.assertEqual(missing.outcome, Outcome.MISSING)
        self.assertEqual(missing.outcome.text, "no such file")
        self.assertEqual(
            status.files_not_loaded(),
            [
                "app config file: a value of the wrong type at /processes",
                "node list: malformed at 3:2",
                "manager node list: no such file",
            ],
        )

    def test_Status_IsFrozen(self):
        status = sysconfreader.status()
        with self.assertRaises(dataclasses.FrozenInstanceError):
            status.last_load = 1
        self.assertEqual(status, sysconfreader.status())

    def test_Status_NamesTheEventLibrary(self):
        support.load_event_library("SYSCONF_EVENT_LIBRARY")
        sysconfreader.local_port()
        status = sysconfreader.status()
        self.assertEqual(status.subscription, Subscription.SUBSCRIBED)
        self.assertEqual(status.subscription.text, "subscribed")
        self.assertTrue(
            os.path.samefile(status.event_library, os.environ["SYSCONF_EVENT_LIBRARY"])
        )

    def test_Enumerations_AreThoseOfTheHeader(self):
        header = (support.SOURCE / "include/sysconfreader_c.h").read_text()
        for kind in (Outcome, Subscription):
            name = f"sysconfreader_{kind.__name__.lower()}"
            self.assertEqual(
                {member.name: member.value for member in kind}, support.enumeration(header, name)
            )
        later = Outcome(1000)
        self.assertEqual((later, later.text), (1000, "unknown"))


if __name__ == "__main__":
    support.main()
