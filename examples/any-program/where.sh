#!/bin/sh
# Prints where it runs: sysconfctl exec -- ./where.sh
# Without the variables of exec, it asks for them.
if [ -z "${SYSCONF_PRODUCT_NAME-}" ]; then
  eval "$(sysconfctl get --shell product-name local-service-ip)"
fi
echo "tenancy ${SYSCONF_PRODUCT_NAME-none}, service address ${SYSCONF_LOCAL_SERVICE_IP-none}"
